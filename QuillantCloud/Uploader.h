#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantUploadAPI.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/UploadProgress.h"
#include "QuillantCloud/UploadTransport.h"

namespace quillant {

/// Carries one pending upload to its end: reserve, put video, poster and captions, complete. The entry's file
/// is rewritten after each step and each step that it says is done is skipped, so a run may be stopped
/// anywhere, by a crash included, and done again from the file.
///
/// Keeps no state of its own. The uploader and the entry outlive the run. Whoever runs an entry has its claim
/// (`PendingUploadStore::claim`), and runs it on a strand in the background: saving blocks on the disk, and
/// callbacks may block too. They run on that strand, concurrently with the transfer, which goes on while they
/// block.
///
/// Throws `APIError`, `UploadError`, `TransportError`, `FileError`, and whatever `checkpoint` throws. A run
/// that was cancelled throws `UploadError::Cancelled`, whatever it was at.
struct Uploader {
  std::shared_ptr<QuillantUploadAPI> api;
  PendingUploadStore store;
  std::shared_ptr<UploadTransport> transport;
  /// Called with the name of a point that the run has reached; may throw to end it there.
  std::function<void(const std::string&)> checkpoint = [](const std::string&) {};
  /// A line for each step; how far a file has come is for `progress` alone.
  std::function<void(const std::string&)> log = [](const std::string&) {};
  /// Called at the start of each step, at each tenth of a file that is sent, and when the run fails or is
  /// cancelled.
  std::function<void(const UploadProgress&)> progress = [](const UploadProgress&) {};
  UploadClock clock{};

  /// Whether the entry's video is no longer the file that was queued, so that no run can send it. Blocking;
  /// of a file that cannot be looked at nothing is said: the transfer reports that.
  static std::optional<UploadError::SizeChanged> sizeChange(const PendingUpload& entry);

  /// Makes sure that the upload exists on the service and its URLs are good, and returns its link. Makes no
  /// request if the entry has all of that. `replacingBytes`: what the service holds is out of date.
  Task<std::string> reserve(PendingUpload& entry, bool replacingBytes) const;

  /// Reserves, and does all that is left. Afterwards either the entry is completed and its file gone, or the
  /// service has not called the video ready, and the file is there for a later run.
  Task<> runRemaining(PendingUpload& entry, bool replacingBytes) const;

  /// Notes in the entry's file what it waits for after a run that ended with `error`. Blocking.
  void recordFailure(PendingUpload& entry, const std::exception& error) const;
};

}  // namespace quillant
