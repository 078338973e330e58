#include "Linux/Desktop/DesktopSession.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

#include "Core/PrivateFolder.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::DesktopSession {

namespace {

std::string environment(const char* name) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here sets a variable.
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

DisplayServer displayServer() {
  if (!environment("WAYLAND_DISPLAY").empty()) return DisplayServer::wayland;
  return environment("DISPLAY").empty() ? DisplayServer::none : DisplayServer::x11;
}

std::filesystem::path runtimeFolder() {
  const std::filesystem::path session = environment("XDG_RUNTIME_DIR");
  // Without a session's folder a name that both sides know: whoever took it first is found out.
  const auto folder = session.is_absolute()
                          ? session / "quillant"
                          : std::filesystem::path("/tmp/quillant-" + std::to_string(::geteuid()));
  PrivateFolder::ensure(folder);
  return folder;
}

std::filesystem::path applicationsFolder() {
  return QuillantConfig::supportDirectory().parent_path() / "applications";
}

}  // namespace quillant::DesktopSession
