#pragma once

#include <filesystem>

/// Folders for what concerns nobody but the user.
namespace quillant::PrivateFolder {

/// Makes sure that `folder` is there (its parents too), is a folder of this user's and no link to one, and
/// that nobody else may look into it. Blocking; throws `FileError`.
void ensure(const std::filesystem::path& folder);

/// Makes sure that `file`, in such a folder, is a file of this user's and no link to one, and that nobody
/// else may read or write it. Blocking; throws `FileError`.
void ensureFile(const std::filesystem::path& file);

}  // namespace quillant::PrivateFolder
