#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Core/Task.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantUploadAPI.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantCloud/UploadTransport.h"

namespace quillant {

/// Carries one pending upload to its end: reserve, put video, poster and captions, complete. The entry's file
/// is rewritten after each step and each step that it says is done is skipped, so a run may be stopped
/// anywhere, by a crash included, and done again from the file.
///
/// Keeps no state of its own. The uploader and the entry outlive the run, which owns the entry meanwhile; run
/// it in the background, since saving blocks on the disk. Throws `APIError`, `UploadError`, `TransportError`,
/// `FileError`, and whatever `checkpoint` throws.
struct Uploader {
  std::shared_ptr<QuillantUploadAPI> api;
  PendingUploadStore store;
  std::shared_ptr<UploadTransport> transport;
  /// Is called with the name of a point that the run has reached; may throw to end it there.
  std::function<void(const std::string&)> checkpoint = [](const std::string&) {};
  std::function<void(const std::string&)> log = [](const std::string&) {};  ///< Any thread.
  /// The share that is sent of the file under way, 0 to 1. Any thread.
  std::function<void(double)> progress = [](double) {};
  UploadClock clock{};

  /// Makes sure that the upload exists on the service and its URLs are good, and returns its link. Makes no
  /// request if the entry has all of that. `replacingBytes`: what the service holds is out of date.
  Task<std::string> reserve(PendingUpload& entry, bool replacingBytes) const;

  /// Reserves, and does all that is left. Afterwards either the entry is completed and its file gone, or the
  /// service has not called the video ready, and the file is there for a later run.
  Task<> runRemaining(PendingUpload& entry, bool replacingBytes) const;

  /// Whether a line of `log` tells only how far a file has come, so that the next one may take its place.
  static bool isProgressLine(std::string_view line);

 private:
  Task<std::string> create(PendingUpload& entry) const;
  Task<std::string> refresh(PendingUpload& entry, bool replacingBytes) const;
  Task<> sendVideo(PendingUpload& entry) const;
  Task<> sendPoster(PendingUpload& entry) const;
  Task<> sendCaptions(PendingUpload& entry) const;
  Task<> sendAll(PendingUpload& entry, bool replacingBytes) const;
  Task<> complete(PendingUpload& entry) const;
  void forgetBytes(PendingUpload& entry) const;
  Task<> putFileWithRetry(std::string path, std::string url, std::string contentType,
                          std::string label) const;
};

}  // namespace quillant
