#include "Linux/Desktop/DesktopSession.h"

#include <string>
#include <unistd.h>

#include "Core/Environment.h"
#include "Core/PrivateFolder.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::DesktopSession {

DisplayServer displayServer() {
  if (!Environment::value("WAYLAND_DISPLAY").empty()) return DisplayServer::wayland;
  return Environment::value("DISPLAY").empty() ? DisplayServer::none : DisplayServer::x11;
}

std::filesystem::path runtimeFolder() {
  const std::filesystem::path session = Environment::value("XDG_RUNTIME_DIR");
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
