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
  /// For what is only noted: where it cannot be saved, the entry stays as it was and is tried again.
  void saveIfPossible(const PendingUpload& entry) const;
  /// Nothing if there is no such file or it cannot be understood.
  std::optional<PendingUpload> load(const std::string& id) const;
  /// The poster made for the entry goes with it. A file that is not there, or that cannot be removed, is no
  /// error.
  void remove(const std::string& id) const;
  /// Oldest first. Files that cannot be read or understood are left out and left alone.
  std::vector<PendingUpload> all() const;
  /// Where a poster is kept that is made for the entry's upload alone. Makes the folder.
  std::filesystem::path makePosterPath(const std::string& id) const;
};

}  // namespace quillant
