#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

#include "Core/FileDescriptor.h"
#include "Core/OwnerFile.h"

namespace quillant {

/// Keeps other processes, and other threads of this one, out of a folder's read-modify-write for as long as
/// it lives. Makes the folder if it is missing. Blocking.
///
/// It is a lock of the system on `.lock`. Where the file system has none, `.lock.owner` is an `OwnerFile`.
class FolderLock {
 public:
  static constexpr std::chrono::milliseconds patience = std::chrono::seconds(10);

  /// Throws `FileError`, with `device_or_resource_busy` if somebody else still has the lock after `longest`.
  explicit FolderLock(const std::filesystem::path& folder, std::chrono::milliseconds longest = patience);
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  FileDescriptor file_;
  std::optional<OwnerFile> owner_;  ///< What is held where `file_` cannot be locked.
};

}  // namespace quillant
