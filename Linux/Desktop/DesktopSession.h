#pragma once

#include <filesystem>
#include <optional>

/// What the environment says about the session that this process belongs to.
namespace quillant::DesktopSession {

enum class DisplayServer { none, x11, wayland };

/// Wayland's, where both answer.
DisplayServer displayServer();
/// The folder for this program's sockets, made private to the user. Blocking; throws `FileError`.
std::filesystem::path runtimeFolder();
/// Where applications of this user alone are described.
std::filesystem::path applicationsFolder();
/// Where this user's settings lie. Throws `ConfigError` where there is no place for them.
std::filesystem::path configFolder();
/// The user's folder of films, as the desktop names it; nothing if there is no home. Blocking.
std::optional<std::filesystem::path> filmsFolder();

}  // namespace quillant::DesktopSession
