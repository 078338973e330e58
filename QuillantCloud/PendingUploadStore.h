#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "QuillantCloud/PendingUpload.h"

namespace quillant {

/// The folder of pending uploads, a file each. Blocking; files are replaced whole, which is all the
/// protection that a reader beside a writer has.
struct PendingUploadStore {
  std::filesystem::path directory;  ///< Made when the first entry is saved.

  /// Throws `FileError`.
  void save(const PendingUpload& entry) const;
  /// Nothing if there is no such file or it cannot be understood.
  std::optional<PendingUpload> load(const std::string& id) const;
  /// A file that is not there, or that cannot be removed, is no error.
  void remove(const std::string& id) const;
  /// Oldest first. Files that cannot be read or understood are left out and left alone.
  std::vector<PendingUpload> all() const;
};

}  // namespace quillant
