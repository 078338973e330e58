#pragma once

#include <filesystem>

/// Whether the desktop starts this program when the user logs in. The desktop's own file is the setting: a
/// user may change it there, too.
namespace quillant::LoginItem {

/// Blocking.
bool isEnabled();
/// Has `program` started, or nothing. Blocking; throws `FileError`.
void enable(const std::filesystem::path& program);
void disable();

}  // namespace quillant::LoginItem
