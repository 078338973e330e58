#include "Linux/Desktop/DesktopSession.h"

#include <string>
#include <string_view>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/Environment.h"
#include "Core/PrivateFolder.h"
#include "QuillantCloud/ConfigError.h"
#include "QuillantCloud/QuillantConfig.h"

namespace quillant::DesktopSession {

namespace {

std::optional<std::filesystem::path> homeFolder() {
  const std::filesystem::path home = Environment::value("HOME");
  return home.is_absolute() ? std::optional(home) : std::nullopt;
}

/// What the desktop's list of the user's folders says: lines as `XDG_VIDEOS_DIR="$HOME/Films"`. A folder that
/// is the home itself is how it says that there is none.
std::optional<std::filesystem::path> namedFolder(const std::string& name, const std::filesystem::path& home) {
  std::string list;
  try {
    list = AtomicFile::read(configFolder() / "user-dirs.dirs", 1 << 16);
  } catch (const Error&) {
    return std::nullopt;
  }
  const std::string start = "\n" + name + "=\"";
  list.insert(0, "\n");
  const auto found = list.find(start);
  if (found == std::string::npos) return std::nullopt;
  const auto begin = found + start.size();
  std::string value = list.substr(begin, list.find('"', begin) - begin);
  constexpr std::string_view homeWord = "$HOME";
  if (value.starts_with(homeWord)) value.replace(0, homeWord.size(), home.string());
  const auto folder = std::filesystem::path(value).lexically_normal();
  if (!folder.is_absolute() || folder == home || folder == home / "") return std::nullopt;
  return folder;
}

}  // namespace

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

std::filesystem::path configFolder() {
  const std::filesystem::path chosen = Environment::value("XDG_CONFIG_HOME");
  if (chosen.is_absolute()) return chosen;
  if (const auto home = homeFolder()) return *home / ".config";
  throw ConfigError(ConfigError::Kind::noHomeFolder);
}

std::optional<std::filesystem::path> filmsFolder() {
  const auto home = homeFolder();
  if (!home) return std::nullopt;
  return namedFolder("XDG_VIDEOS_DIR", *home).value_or(*home / "Videos");
}

}  // namespace quillant::DesktopSession
