#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillantCloud/PendingUpload.h"
#include "QuillantCloud/UploadClaim.h"

namespace quillant {

/// The folder of pending uploads, a file each, named after the entry's id: a UUID. What has another name,
/// says that it is another entry, or cannot be understood, is none of them and left alone.
///
/// Blocking. Files are replaced whole, so that reading needs nothing else. Who runs an entry or writes its
/// files has its claim, and reads the entry again once it has it.
struct PendingUploadStore {
  std::filesystem::path directory;  ///< Made, for its user alone, when the first entry is claimed or saved.

  /// Nothing while another run has it, in this process or another one. Throws `FileError`.
  std::optional<UploadClaim> claim(const std::string& id) const;
  /// The process that has the claim, 0 if that is not known; nothing if nobody has it.
  std::optional<pid_t> claimant(const std::string& id) const;

  /// Throws `FileError`, and `UploadError` if one of its paths is not UTF-8.
  void save(const PendingUpload& entry) const;
  /// For changes that may be lost: if saving fails, the entry stays as it was and is tried again.
  void saveIfPossible(const PendingUpload& entry) const;
  /// Nothing if there is no such entry.
  std::optional<PendingUpload> load(const std::string& id) const;
  /// Those of the entry's files that lie in this folder go with it: they were made for the upload alone. A
  /// file that is not there, or that cannot be removed, is no error.
  void remove(const std::string& id) const;
  /// Saves the entry in the place of what it was, and removes the files in this folder that it names no more.
  void replace(const PendingUpload& entry) const;
  /// Oldest first; none if the folder cannot be listed. Throws `FileError` if it is not the user's own: what
  /// somebody else put there is not sent.
  std::vector<PendingUpload> all() const;
  /// Where a poster is kept that is made for the entry's upload alone.
  std::filesystem::path posterPath(const std::string& id) const;
  /// A new name in this folder for what is made of an edit, to be sent by an entry that is claimed already:
  /// "quillant-share-" and a UUID, for "share". Without a claim it may be removed before an entry names it.
  std::filesystem::path newFile(std::string_view what, std::string_view extension) const;
  /// Removes what processes have left here that were killed: posters without an entry, halves of files, files
  /// that no entry names. Throws as `all` does.
  void removeLitter() const;
};

}  // namespace quillant
