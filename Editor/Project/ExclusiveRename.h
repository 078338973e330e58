#pragma once

#include <filesystem>

namespace quillant::ExclusiveRename {

/// Moves a file or a folder to a name that nothing has, within one file system. Throws `FileError`, with
/// `file_exists` or `directory_not_empty` if something has it. Where the file system cannot do both in one
/// step, a file is linked first, and a folder takes the place of an empty one that has the name.
void move(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace quillant::ExclusiveRename
