#pragma once

#include <filesystem>
#include <string>

#include "Core/FileDescriptor.h"

namespace quillant {

/// A hidden folder in which something grows beside the place where it will appear. It is removed, with all
/// that is still in it, unless it was moved there itself. Blocking; throws `FileError`.
class StagingFolder {
 public:
  /// Makes `.<name>.XXXXXX` in `parent`, with the mode that the user's umask allows, and removes those of the
  /// same name whose process was killed.
  StagingFolder(std::filesystem::path parent, const std::string& name);
  ~StagingFolder();
  StagingFolder(StagingFolder&& other) noexcept;
  StagingFolder& operator=(StagingFolder&&) = delete;

  const std::filesystem::path& parent() const { return parent_; }
  const std::filesystem::path& path() const { return path_; }
  /// Makes it appear as `target`, which nothing may be yet.
  void moveTo(const std::filesystem::path& target);

  /// Pushes the names in a folder to the disk.
  static void sync(const std::filesystem::path& folder);

 private:
  std::filesystem::path parent_;
  std::filesystem::path path_;  ///< Empty once it has been moved.
  FileDescriptor lock_;         ///< Held as long as the folder grows.
};

}  // namespace quillant
