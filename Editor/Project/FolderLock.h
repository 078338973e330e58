#pragma once

#include <filesystem>

namespace quillant {

/// Keeps other processes, and other threads of this one, out of a folder's read-modify-write for as long as
/// it lives. Makes the folder if it is missing. Throws `FileError`.
class FolderLock {
 public:
  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int descriptor_;
};

}  // namespace quillant
