#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

#include "Core/FileDescriptor.h"

namespace quillant {

/// A large file that appears under its name whole or not at all. Until it is published it has no name where
/// the file system can do that, so that not even a kill leaves anything behind; elsewhere it has a hidden one
/// in the same folder. What was there under its name stays until then.
///
/// Belongs to one thread at a time; blocking. Throws `FileError` that names the target.
class StagedFile {
 public:
  /// The file gets `mode`, less the user's mask.
  explicit StagedFile(std::filesystem::path target, unsigned mode = 0666);
  /// What was not published is removed.
  ~StagedFile();
  StagedFile(const StagedFile&) = delete;
  StagedFile& operator=(const StagedFile&) = delete;

  void write(std::uint64_t offset, std::span<const std::uint8_t> bytes);
  std::uint64_t size() const { return size_; }
  /// By which the bytes that were written can be opened and read.
  std::string readablePath() const;
  /// Syncs, and puts the file in the place of whatever has its name. Once.
  void publish();

 private:
  std::filesystem::path target_;
  std::filesystem::path temporary_;  ///< Empty while the file has no name.
  FileDescriptor file_;
  std::uint64_t size_ = 0;
};

}  // namespace quillant
