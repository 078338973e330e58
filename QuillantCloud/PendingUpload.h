#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/Date.h"
#include "Core/JSONForward.h"
#include "QuillantCloud/CaptionsDeclaration.h"

namespace quillant {

/// One upload and how far it has come, as it lies on disk from before the first request until the video is
/// live. The keys of the file are the names of the fields; dates are ISO 8601 texts in whole seconds.
struct PendingUpload {
  std::string id;  ///< Its identity on this machine, not the service's.
  Date createdAt;
  std::string videoPath;  ///< Absolute, as all paths here.
  std::optional<std::string> thumbPath;
  std::optional<std::string> title;
  std::int64_t sizeBytes = 0;
  std::int64_t durationMs = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;

  /// The service's id. Once it is here, the upload exists there and must never be created again.
  std::optional<std::string> videoId;
  std::optional<std::string> slug;
  std::optional<std::string> shareURL;
  std::optional<std::string> putVideoURL;
  std::optional<std::string> putThumbURL;
  std::optional<Date> presignExpiresAt;  ///< When the three URLs are taken to expire.

  std::optional<bool> captionsDeclared;  ///< True: this upload has something to say about captions.
  std::optional<std::string> captionsPath;
  std::optional<std::string> captionsLanguage;
  std::optional<std::string> putCaptionsURL;
  std::optional<bool> captionsUploaded;

  bool videoUploaded = false;
  bool thumbUploaded = false;  ///< Or there is no way to send one.
  bool completed = false;      ///< The service has said that the video is live.

  std::int64_t attempts = 0;  ///< Failed runs of the queue.
  std::optional<std::string> lastError;
  std::optional<Date> lastAttemptAt;
  std::optional<bool> blockedOnAuth;  ///< The last run ended at a sign-in that has expired.

  /// The edit that the files were made of, where they were made of one. Files of several edits are put to the
  /// same URLs then: what the service holds is this entry's only if the entry says so.
  std::optional<std::string> editFingerprint;

  /// A new entry with an id of its own.
  static PendingUpload make(std::string videoPath, std::optional<std::string> thumbPath,
                            std::optional<std::string> title, std::int64_t sizeBytes, std::int64_t durationMs,
                            std::int64_t width, std::int64_t height);

  bool isFinished() const { return completed; }
  /// Whether the signed URLs last for more than another minute: a PUT must not start on one about to expire.
  bool urlsAreFresh(Date now) const;
  bool reservationIsValid(Date now) const { return videoId && putVideoURL && urlsAreFresh(now); }
  CaptionsDeclaration captionsDeclaration() const;
  /// Counts a run that failed, after which the queue pauses.
  void recordFailure(std::string error, Date now);
  /// Notes that the upload waits for its user to sign in; that is no failure of its own.
  void recordExpiredSignIn(std::string error, Date now);
  /// The first characters of `id`, by which logs name an upload.
  std::string shortId() const { return id.substr(0, 8); }

  friend bool operator==(const PendingUpload&, const PendingUpload&) = default;
};

void to_json(Json& json, const PendingUpload& entry);
void from_json(const Json& json, PendingUpload& entry);

}  // namespace quillant
