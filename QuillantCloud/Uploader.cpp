#include "QuillantCloud/Uploader.h"

#include <asio/error.hpp>
#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <utility>

#include "Core/ByteSize.h"
#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpClient.h"
#include "QuillantCloud/URL.h"

namespace quillant {

namespace {

using Phase = UploadProgress::Phase;

/// How long signed URLs are taken to last; the service does not say.
constexpr double presignSeconds = 3600;
constexpr int mostAttempts = 3;
/// How often a run re-sends what the service says it has lost; then the queue's back-off takes over.
constexpr int mostReclaims = 5;

bool isAddress(const std::optional<std::string>& text) {
  return text && URL::parse(*text);
}

bool isWebAddress(const std::string& link) {
  const auto url = URL::parse(link);
  return url && url->isWebAddress();
}

/// The link, if it is one that may be handed out.
std::string webAddress(std::string link) {
  if (!isWebAddress(link)) throw UploadError(UploadError::BadReservation{});
  return link;
}

bool fileExists(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::exists(path, ignored);
}

/// What is not the file that was queued is not sent.
void requireQueuedSize(const PendingUpload& entry) {
  if (const auto change = Uploader::sizeChange(entry)) throw UploadError(*change);
}

/// Whether the service says that it no longer holds what was sent.
bool saysReclaimed(const APIError& error) {
  return error.isRefusal(409, "object_missing") || error.isRefusal(409, "captions_missing");
}

bool isCancellation(const TransportError& error) {
  return error.kind() == TransportError::Kind::cancelled;
}

bool isCancellation(const std::exception& error) {
  if (const auto* transport = dynamic_cast<const TransportError*>(&error)) return isCancellation(*transport);
  if (UploadError::isCancelled(error)) return true;
  // What a cancelled wait throws.
  if (const auto* wait = dynamic_cast<const std::system_error*>(&error))
    return wait->code() == asio::error::operation_aborted;
  const auto* api = dynamic_cast<const APIError*>(&error);
  const auto* lost = api != nullptr ? std::get_if<APIError::Transport>(&api->reason()) : nullptr;
  return lost != nullptr && isCancellation(lost->error);
}

/// The status with which object storage refused, if that is what the error is about.
std::optional<int> putStatus(const Error& error) {
  const auto* upload = dynamic_cast<const UploadError*>(&error);
  const auto* put = upload != nullptr ? std::get_if<UploadError::Put>(&upload->reason()) : nullptr;
  return put != nullptr ? std::optional(put->status) : std::nullopt;
}

/// Whether the same PUT may succeed when it is tried again.
bool isRetryable(const Error& error) {
  if (const auto status = putStatus(error)) return *status == 429 || *status == -1 || *status > 499;
  return dynamic_cast<const TransportError*>(&error) != nullptr;
}

void setUploaded(PendingUpload& entry, bool video, bool thumb, bool captions) {
  entry.videoUploaded = video;
  entry.thumbUploaded = thumb;
  entry.captionsUploaded = captions;
}

/// One file on its way.
struct Shipment {
  Phase phase;
  std::string path;
  std::string url;
  std::string contentType;
};

/// An entry on its way, and where on it.
class Run {
 public:
  Run(const Uploader& uploader, PendingUpload& entry) : uploader_(uploader), entry_(entry) {}

  Task<std::string> reserve(bool replacingBytes);
  Task<> runRemaining(bool replacingBytes);

  /// Awaits a part of the run, and reports its failure or cancellation.
  template <class Result>
  Task<Result> telling(Task<Result> part) {
    try {
      co_return co_await std::move(part);
    } catch (const std::exception& error) {
      if (isCancellation(error)) throw cancelled();
      at_.failure = error.what();
      uploader_.progress(at_);
      throw;
    }
  }

 private:
  Task<std::string> create();
  Task<std::string> refresh(bool replacingBytes);
  Task<> sendAll(bool replacingBytes);
  Task<> sendVideo();
  Task<> sendPoster();
  Task<> sendCaptions();
  Task<> put(Shipment shipment);
  Task<> putWithRetry(const Shipment& shipment);
  Task<> complete();
  void forgetBytes();

  UploadError cancelled() {
    at_.cancelled = true;
    uploader_.progress(at_);
    return UploadError(UploadError::Cancelled{});
  }
  void reach(Phase phase, double fraction = 0) {
    at_ = {.phase = phase, .fraction = fraction};
    uploader_.progress(at_);
  }
  void save() const { uploader_.store.save(entry_); }
  void leaseURLs() {
    entry_.presignExpiresAt = Date{uploader_.clock.now().secondsSince2001 + presignSeconds};
  }
  /// With no lease left, the next reservation asks for new URLs, and what the service really holds.
  void endLease() { entry_.presignExpiresAt.reset(); }

  const Uploader& uploader_;
  PendingUpload& entry_;
  UploadProgress at_;
};

// Reservation

Task<std::string> Run::reserve(bool replacingBytes) {
  reach(Phase::reserving);
  if (!entry_.videoId) co_return co_await create();
  if (entry_.reservationIsValid(uploader_.clock.now()) && entry_.shareURL)
    co_return webAddress(*entry_.shareURL);
  co_return co_await refresh(replacingBytes);
}

Task<std::string> Run::create() {
  const auto reservation = co_await uploader_.api->createUpload(
      entry_.title, entry_.sizeBytes, entry_.durationMs, entry_.width, entry_.height);
  entry_.videoId = reservation.videoId;
  entry_.slug = reservation.slug;
  entry_.putVideoURL = reservation.putVideoURL;
  entry_.putThumbURL = reservation.putThumbURL;
  entry_.putCaptionsURL = reservation.putCaptionsURL;
  leaseURLs();
  setUploaded(entry_, false, false, false);
  entry_.lastError.reset();
  // What the service has made exists there, whatever its link is worth.
  if (isWebAddress(reservation.shareURL)) entry_.shareURL = reservation.shareURL;
  save();
  co_return webAddress(reservation.shareURL);
}

/// The link and the service's id stay as they are, whatever the answer says of them.
Task<std::string> Run::refresh(bool replacingBytes) {
  const auto fresh = co_await uploader_.api->refreshPresign(*entry_.videoId);
  const auto link = webAddress(entry_.shareURL.value_or(fresh.shareURL));
  if (!entry_.shareURL) entry_.shareURL = link;
  entry_.putVideoURL = fresh.putVideoURL;
  entry_.putThumbURL = fresh.putThumbURL;
  entry_.putCaptionsURL = fresh.putCaptionsURL;
  leaseURLs();
  // What is there may be of an earlier edit.
  const auto isThere = [this](bool present, bool sent) {
    return present && (sent || !entry_.editFingerprint);
  };
  if (replacingBytes)
    setUploaded(entry_, false, false, false);
  else
    setUploaded(entry_, isThere(fresh.videoPresent, entry_.videoUploaded),
                isThere(fresh.thumbPresent, entry_.thumbUploaded),
                isThere(fresh.captionsPresent.value_or(false), entry_.captionsUploaded.value_or(false)));
  entry_.lastError.reset();
  save();
  co_return link;
}

// The objects

Task<> Run::sendVideo() {
  if (entry_.videoUploaded) co_return;
  if (!isAddress(entry_.putVideoURL)) throw UploadError(UploadError::BadReservation{});
  requireQueuedSize(entry_);
  uploader_.log("uploading video (" + ByteSize::fileSize(entry_.sizeBytes) + ")…");
  Shipment video{Phase::video, entry_.videoPath, *entry_.putVideoURL, "video/mp4"};
  co_await put(std::move(video));
  requireQueuedSize(entry_);  // something may still have been writing it
  entry_.videoUploaded = true;
  save();
}

/// A poster never stops an upload: without one the video is still the video.
Task<> Run::sendPoster() {
  if (!entry_.thumbPath || entry_.thumbUploaded) co_return;
  if (isAddress(entry_.putThumbURL) && fileExists(*entry_.thumbPath)) {
    uploader_.log("uploading thumbnail…");
    Shipment poster{Phase::thumb, *entry_.thumbPath, *entry_.putThumbURL, "image/jpeg"};
    try {
      co_await put(std::move(poster));
    } catch (const Error& error) {
      // The log has it.
      if (isCancellation(error)) throw;
    }
  }
  entry_.thumbUploaded = true;
  save();
}

Task<> Run::sendCaptions() {
  if (!entry_.captionsDeclared.value_or(false) || !entry_.captionsPath || !entry_.captionsLanguage ||
      entry_.captionsUploaded.value_or(false))
    co_return;
  if (!fileExists(*entry_.captionsPath)) throw UploadError(UploadError::CaptionsFileMissing{});
  if (!isAddress(entry_.putCaptionsURL)) throw UploadError(UploadError::CaptionsUnsupported{});
  uploader_.log("uploading captions…");
  Shipment captions{Phase::captions, *entry_.captionsPath, *entry_.putCaptionsURL, "text/vtt"};
  co_await put(std::move(captions));
  entry_.captionsUploaded = true;
  save();
}

Task<> Run::put(Shipment shipment) {
  reach(shipment.phase);
  try {
    co_await putWithRetry(shipment);
  } catch (const UploadError& error) {
    if (putStatus(error) == 403) {
      endLease();
      uploader_.store.saveIfPossible(entry_);
    }
    throw;
  }
}

Task<> Run::putWithRetry(const Shipment& shipment) {
  const auto report = [this, phase = shipment.phase](double fraction) { reach(phase, fraction); };
  for (int attempt = 1;; ++attempt) {
    // Nothing can be awaited inside the handler.
    try {
      co_await uploader_.transport->put(shipment.path, shipment.url, shipment.contentType, report);
      co_return;
    } catch (const Error& error) {
      if (isCancellation(error)) throw;
      const bool again = isRetryable(error);
      uploader_.log(fmt::format("  {} attempt {} failed: {} {}", rawText(shipment.phase), attempt,
                                error.description(), again ? "(retrying)" : ""));
      if (!again || attempt == mostAttempts) throw;
    }
    co_await uploader_.clock.sleep(std::chrono::seconds(1 << (attempt - 1)));
  }
}

// The whole run

Task<> Run::sendAll(bool replacingBytes) {
  if (entry_.videoPath.empty()) throw UploadError(UploadError::NothingToSend{});
  requireQueuedSize(entry_);
  co_await reserve(replacingBytes);
  co_await sendVideo();
  co_await sendPoster();
  co_await sendCaptions();
  uploader_.checkpoint("after-video-put");
}

Task<> Run::complete() {
  if (!entry_.videoId) throw UploadError(UploadError::BadReservation{});
  reach(Phase::finalizing);
  uploader_.log("finalizing…");
  const auto result =
      co_await uploader_.api->completeUpload(*entry_.videoId, entry_.sizeBytes, entry_.captionsDeclaration());
  entry_.completed = result.isReady();
  save();
}

void Run::forgetBytes() {
  uploader_.log("bytes were reclaimed before finalize — re-uploading before retrying complete");
  setUploaded(entry_, false, false, false);
  endLease();
  save();
}

Task<> Run::runRemaining(bool replacingBytes) {
  for (int reclaims = 0;; ++reclaims) {
    co_await sendAll(replacingBytes && reclaims == 0);
    if (entry_.completed) break;
    try {
      co_await complete();
      break;
    } catch (const APIError& error) {
      if (!saysReclaimed(error)) throw;
      forgetBytes();
      if (reclaims == mostReclaims) throw;
    }
  }
  if (!entry_.completed) co_return;
  uploader_.store.remove(entry_.id);
  uploader_.log(entry_.shareURL ? "done — " + *entry_.shareURL : "uploaded");
}

}  // namespace

std::optional<UploadError::SizeChanged> Uploader::sizeChange(const PendingUpload& entry) {
  if (entry.videoUploaded) return std::nullopt;
  std::error_code failed;
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(entry.videoPath, failed));
  if (failed || size == entry.sizeBytes) return std::nullopt;
  return UploadError::SizeChanged{entry.sizeBytes, size};
}

void Uploader::recordFailure(PendingUpload& entry, const std::exception& error) const {
  if (APIError::isTokenExpired(error))
    entry.recordExpiredSignIn(error.what(), clock.now());
  else if (UploadError::isFinal(error))
    entry.lastError = error.what();
  else
    entry.recordFailure(error.what(), clock.now());
  store.saveIfPossible(entry);
}

Task<std::string> Uploader::reserve(PendingUpload& entry, bool replacingBytes) const {
  Run run(*this, entry);
  co_return co_await run.telling(run.reserve(replacingBytes));
}

Task<> Uploader::runRemaining(PendingUpload& entry, bool replacingBytes) const {
  Run run(*this, entry);
  co_await run.telling(run.runRemaining(replacingBytes));
}

}  // namespace quillant
