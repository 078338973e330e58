#pragma once

#include <filesystem>

#include "Core/FileDescriptor.h"

namespace quillant {

/// Keeps other processes, and other threads of this one, out of a folder's read-modify-write for as long as
/// it lives. Makes the folder if it is missing. Throws `FileError`.
class FolderLock {
 public:
  explicit FolderLock(const std::filesystem::path& folder);

 private:
  FileDescriptor file_;
};

}  // namespace quillant
