#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectShareRecord.h"
#include "QuillantCloud/PendingUpload.h"
#include "QuillantShare/ShareRecords.h"

namespace quillant {

/// The one upload of a project, as a share asks for it. Belongs to the main thread; its tasks are awaited
/// there, one at a time.
class ShareUploading {
 public:
  /// Gets the share of the video that is sent, from 0 to 1. Any thread.
  using Progress = std::function<void(double)>;

  /// The size of an upload whose link was made before there was a file. Real ones are larger.
  static constexpr std::int64_t placeholderSizeBytes = 1;

  virtual ~ShareUploading() = default;

  /// The upload, as the last of these tasks left it.
  virtual const std::optional<PendingUpload>& entry() const = 0;
  bool hasReservation() const { return entry() && entry()->videoId; }
  std::optional<std::string> shareURL() const { return entry() ? entry()->shareURL : std::nullopt; }

  /// The fingerprint of the edit that the entry's files were made of, if all of them are still there.
  virtual const std::optional<std::string>& sendableFingerprint() const = 0;

  /// Takes the sole right to send to the project's link, until `end`. Throws `UploadError` if another program
  /// or share has it, and `FileError`.
  virtual Task<> begin() = 0;
  /// Does nothing where `begin` has failed. Throws nothing.
  virtual Task<> end() = 0;
  /// Brings `entry` up to what was left on disk or, where nothing was, to what `record` says. Throws as
  /// `begin` does.
  virtual Task<> adopt(ProjectShareRecord record, ShareMetadata metadata) = 0;

  // Between `begin` and `end`. These throw what `Uploader` throws; what was done stays on disk.

  /// The link, once it is on disk. Makes no other where there is one.
  virtual Task<std::string> mint(ShareMetadata metadata) = 0;
  /// Sends the files in the place of what the link shows. Throws `ShareUploadError` too.
  virtual Task<> uploadRendered(RenderedShare rendered, Progress progress) = 0;
  /// Sends what is left of the files that were sent last. Throws `ShareUploadError` too.
  virtual Task<> resumeUpload(Progress progress) = 0;
};

}  // namespace quillant
