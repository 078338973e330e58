#include "QuillantCloud/Uploader.h"

#include <exception>
#include <filesystem>
#include <fmt/format.h>
#include <utility>

#include "Core/ByteSize.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/URL.h"

namespace quillant {

namespace {

/// How long signed URLs are taken to last; the service does not say.
constexpr double presignSeconds = 3600;
constexpr int mostAttempts = 3;
/// So often a run sends again what the service says it has lost; then the queue's back-off takes over.
constexpr int mostReclaims = 5;

bool isAddress(const std::optional<std::string>& text) {
  return text && URL::parse(*text);
}

bool fileExists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

/// Whether the service says that it no longer holds what was sent.
bool saysReclaimed(const APIError& error) {
  return error.isRefusal(409, "object_missing") || error.isRefusal(409, "captions_missing");
}

/// Whether the same PUT may succeed when it is tried again.
bool isRetryable(const Error& error) {
  if (dynamic_cast<const TransportError*>(&error) != nullptr) return true;
  const auto* uploadError = dynamic_cast<const UploadError*>(&error);
  if (uploadError == nullptr) return false;
  const auto* put = std::get_if<UploadError::Put>(&uploadError->reason());
  return put != nullptr && (put->status == 429 || put->status == -1 || put->status > 499);
}

void setUploaded(PendingUpload& entry, bool video, bool thumb, bool captions) {
  entry.videoUploaded = video;
  entry.thumbUploaded = thumb;
  entry.captionsUploaded = captions;
}

}  // namespace

// Reservation

Task<std::string> Uploader::reserve(PendingUpload& entry, bool replacingBytes) const {
  if (!entry.videoId) co_return co_await create(entry);
  if (entry.reservationIsValid(clock.now()) && entry.shareURL) co_return *entry.shareURL;
  co_return co_await refresh(entry, replacingBytes);
}

Task<std::string> Uploader::create(PendingUpload& entry) const {
  const auto reservation =
      co_await api->createUpload(entry.title, entry.sizeBytes, entry.durationMs, entry.width, entry.height);
  entry.videoId = reservation.videoId;
  entry.slug = reservation.slug;
  entry.shareURL = reservation.shareURL;
  entry.putVideoURL = reservation.putVideoURL;
  entry.putThumbURL = reservation.putThumbURL;
  entry.putCaptionsURL = reservation.putCaptionsURL;
  entry.presignExpiresAt = Date{clock.now().secondsSince2001 + presignSeconds};
  setUploaded(entry, false, false, false);
  entry.lastError.reset();
  store.save(entry);
  co_return reservation.shareURL;
}

/// The link and the service's id stay as they are, whatever the answer says of them.
Task<std::string> Uploader::refresh(PendingUpload& entry, bool replacingBytes) const {
  const auto fresh = co_await api->refreshPresign(*entry.videoId);
  entry.putVideoURL = fresh.putVideoURL;
  entry.putThumbURL = fresh.putThumbURL;
  entry.putCaptionsURL = fresh.putCaptionsURL;
  entry.presignExpiresAt = Date{clock.now().secondsSince2001 + presignSeconds};
  if (replacingBytes)
    setUploaded(entry, false, false, false);
  else
    setUploaded(entry, fresh.videoPresent, fresh.thumbPresent, fresh.captionsPresent.value_or(false));
  entry.lastError.reset();
  store.save(entry);
  co_return entry.shareURL.value_or(fresh.shareURL);
}

// The objects

Task<> Uploader::sendVideo(PendingUpload& entry) const {
  if (entry.videoUploaded) co_return;
  if (!isAddress(entry.putVideoURL)) throw UploadError(UploadError::BadReservation{});
  log("uploading video (" + ByteSize::fileSize(entry.sizeBytes) + ")…");
  co_await putFileWithRetry(entry.videoPath, *entry.putVideoURL, "video/mp4", "video");
  entry.videoUploaded = true;
  store.save(entry);
}

/// A poster never stops an upload: without one the video is still the video.
Task<> Uploader::sendPoster(PendingUpload& entry) const {
  if (!entry.thumbPath || entry.thumbUploaded) co_return;
  if (isAddress(entry.putThumbURL) && fileExists(*entry.thumbPath)) {
    log("uploading thumbnail…");
    try {
      co_await putFileWithRetry(*entry.thumbPath, *entry.putThumbURL, "image/jpeg", "thumb");
    } catch (const Error&) {
      // The log has it.
    }
  }
  entry.thumbUploaded = true;
  store.save(entry);
}

Task<> Uploader::sendCaptions(PendingUpload& entry) const {
  if (!entry.captionsDeclared.value_or(false) || !entry.captionsPath || !entry.captionsLanguage ||
      entry.captionsUploaded.value_or(false))
    co_return;
  if (!fileExists(*entry.captionsPath)) throw UploadError(UploadError::CaptionsFileMissing{});
  if (!isAddress(entry.putCaptionsURL)) throw UploadError(UploadError::CaptionsUnsupported{});
  log("uploading captions…");
  co_await putFileWithRetry(*entry.captionsPath, *entry.putCaptionsURL, "text/vtt", "captions");
  entry.captionsUploaded = true;
  store.save(entry);
}

Task<> Uploader::putFileWithRetry(std::string path, std::string url, std::string contentType,
                                  std::string label) const {
  const auto report = [this, label](double fraction) {
    log(fmt::format("  {} {}%", label, static_cast<int>(fraction * 100)));
    progress(fraction);
  };
  for (int attempt = 1;; ++attempt) {
    // Nothing can be awaited inside the handler.
    try {
      co_await transport->put(path, url, contentType, report);
      co_return;
    } catch (const Error& error) {
      const bool again = isRetryable(error);
      log(fmt::format("  {} attempt {} failed: {} {}", label, attempt, error.description(),
                      again ? "(retrying)" : ""));
      if (!again || attempt == mostAttempts) throw;
    }
    co_await clock.sleep(std::chrono::seconds(1 << (attempt - 1)));
  }
}

bool Uploader::isProgressLine(std::string_view line) {
  return line.starts_with("  ") && line.ends_with('%');
}

// The whole run

Task<> Uploader::sendAll(PendingUpload& entry, bool replacingBytes) const {
  co_await reserve(entry, replacingBytes);
  co_await sendVideo(entry);
  co_await sendPoster(entry);
  co_await sendCaptions(entry);
  checkpoint("after-video-put");
}

Task<> Uploader::complete(PendingUpload& entry) const {
  if (!entry.videoId) throw UploadError(UploadError::BadReservation{});
  log("finalizing…");
  const auto result =
      co_await api->completeUpload(*entry.videoId, entry.sizeBytes, entry.captionsDeclaration());
  entry.completed = result.isReady();
  store.save(entry);
}

/// With no lease left, the next reservation asks the service what it really holds.
void Uploader::forgetBytes(PendingUpload& entry) const {
  log("bytes were reclaimed before finalize — re-uploading before retrying complete");
  setUploaded(entry, false, false, false);
  entry.presignExpiresAt.reset();
  store.save(entry);
}

Task<> Uploader::runRemaining(PendingUpload& entry, bool replacingBytes) const {
  for (int reclaims = 0;; ++reclaims) {
    co_await sendAll(entry, replacingBytes && reclaims == 0);
    if (entry.completed) break;
    try {
      co_await complete(entry);
      break;
    } catch (const APIError& error) {
      if (!saysReclaimed(error)) throw;
      forgetBytes(entry);
      if (reclaims == mostReclaims) throw;
    }
  }
  if (!entry.completed) co_return;
  store.remove(entry.id);
  log(entry.shareURL ? "done — " + *entry.shareURL : "uploaded");
}

}  // namespace quillant
