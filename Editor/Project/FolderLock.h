#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "Core/FileDescriptor.h"

namespace quillant {

/// Keeps other processes, and other threads of this one, out of a folder's read-modify-write for as long as
/// it lives. Makes the folder if it is missing. Blocking.
///
/// It is a lock of the system on `.lock`. Where the file system has none, whoever makes `.lock.owner` has the
/// lock; that of a process that died is taken away, at once on the same machine and otherwise after a minute.
class FolderLock {
 public:
  static constexpr std::chrono::milliseconds patience = std::chrono::seconds(10);

  /// Throws `FileError`, with `device_or_resource_busy` if somebody else still has the lock after `longest`.
  explicit FolderLock(const std::filesystem::path& folder, std::chrono::milliseconds longest = patience);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  FileDescriptor file_;
  std::filesystem::path holder_;  ///< Empty unless the lock is the existence of this file.
  std::string identity_;          ///< What is in it.
};

}  // namespace quillant
