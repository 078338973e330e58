#pragma once

#include <filesystem>

/// What the environment says about the session that this process belongs to.
namespace quillant::DesktopSession {

enum class DisplayServer { none, x11, wayland };

/// Wayland's, where both answer.
DisplayServer displayServer();
/// The folder for this program's sockets, made private to the user. Blocking; throws `FileError`.
std::filesystem::path runtimeFolder();
/// Where applications of this user alone are described.
std::filesystem::path applicationsFolder();

}  // namespace quillant::DesktopSession
