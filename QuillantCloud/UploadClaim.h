#pragma once

#include <filesystem>
#include <optional>
#include <sys/types.h>

#include "Core/FileDescriptor.h"
#include "Core/OwnerFile.h"

namespace quillant {

/// The sole right to run one pending upload and to write its files, against other processes and other runs of
/// this one. It is a lock on a file, which the system takes back from a process that dies; where the file
/// system has no locks, an `OwnerFile` beside it.
class UploadClaim {
 public:
  /// Nothing if somebody has it. The file is made, and removed when the claim ends. Blocking, but does not
  /// wait for the claim; throws `FileError`.
  static std::optional<UploadClaim> take(const std::filesystem::path& file);
  /// The process that has it, 0 if that is not known; nothing if nobody has it.
  static std::optional<pid_t> holder(const std::filesystem::path& file);

  UploadClaim(UploadClaim&& other) noexcept = default;
  UploadClaim& operator=(UploadClaim&& other) = delete;
  ~UploadClaim();

 private:
  UploadClaim(std::filesystem::path file, FileDescriptor lock, std::optional<OwnerFile> owner);

  std::filesystem::path file_;
  FileDescriptor lock_;
  std::optional<OwnerFile> owner_;  ///< What is held where `lock_` cannot be locked.
};

}  // namespace quillant
