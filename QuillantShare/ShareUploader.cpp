#include "QuillantShare/ShareUploader.h"

#include <cassert>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Core/UUID.h"
#include "QuillantCloud/UploadError.h"
#include "QuillantShare/ShareQueue.h"
#include "QuillantShare/ShareUploadBridge.h"
#include "QuillantShare/ShareUploadError.h"

namespace quillant {

namespace {

using Claims = std::vector<UploadClaim>;

// Blocking, on the strand.

UploadClaim claim(const PendingUploadStore& queue, const std::string& id) {
  auto taken = queue.claim(id);
  if (!taken) throw UploadError(UploadError::UnderWay{queue.claimant(id).value_or(0)});
  return std::move(*taken);
}

Task<Claims> take(PendingUploadStore queue, std::string id) {
  queue.removeLitter();
  Claims claims;
  claims.push_back(claim(queue, id));
  co_return claims;
}

Task<> release(Claims claims) {
  claims.clear();
  co_return;
}

struct Found {
  std::optional<PendingUpload> entry;
  std::string id;  ///< Its own, or that of one to make.
  std::optional<std::string> sendableFingerprint;
  Claims claims;
};

/// Whether the files that the entry names are there.
bool isWhole(const PendingUpload& entry) {
  std::error_code missing;
  return std::filesystem::exists(entry.videoPath, missing) && !Uploader::sizeChange(entry) &&
         (!entry.captionsPath || std::filesystem::exists(*entry.captionsPath, missing));
}

/// The place of a project's entry in the queue is that of its id, unless that is no UUID, which the queue
/// does not take, or an upload to a link lies there that the project has no more.
std::string newId(const PendingUploadStore& queue, const std::string& projectId) {
  const auto id = UUID::parse(projectId);
  const bool isFree = id && id->text() == projectId && !queue.load(projectId);
  return isFree ? projectId : UUID::random().text();
}

Task<Found> find(PendingUploadStore queue, std::string projectId, std::optional<std::string> slug,
                 bool claims) {
  Found found{.entry = ShareQueue::entryOf(queue, projectId, slug)};
  found.id = found.entry ? found.entry->id : newId(queue, projectId);
  if (claims && found.id != projectId) {
    found.claims.push_back(claim(queue, found.id));
    found.entry = queue.load(found.id);
  }
  if (found.entry && isWhole(*found.entry)) found.sendableFingerprint = found.entry->editFingerprint;
  co_return found;
}

struct Ran {
  std::optional<PendingUpload> entry;  ///< After a failure: as it is on disk, if it is there.
  std::string link;
  std::exception_ptr failure;
};

template <class Step>
Task<Ran> ran(Uploader uploader, PendingUpload entry, Step step) {
  Ran result;
  try {
    result.link = co_await step(uploader, entry);
    result.entry = std::move(entry);
  } catch (...) {
    result.failure = std::current_exception();
    result.entry = uploader.store.load(entry.id);
  }
  co_return result;
}

Task<std::string> reserve(const Uploader& uploader, PendingUpload& entry) {
  return uploader.reserve(entry, false);
}

Task<std::string> send(const Uploader& uploader, PendingUpload& entry, bool replacingBytes) {
  try {
    co_await uploader.runRemaining(entry, replacingBytes);
  } catch (const std::exception& error) {
    uploader.recordFailure(entry, error);
    throw;
  }
  if (!entry.completed) throw UploadError(UploadError::NotReady{});
  co_return entry.shareURL.value_or("");
}

Task<std::string> sendAgain(const Uploader& uploader, PendingUpload& entry) {
  return send(uploader, entry, false);
}

Task<std::string> sendRendered(const Uploader& uploader, PendingUpload& entry) {
  entry.sizeBytes = ShareUploadBridge::fileSize(entry.videoPath);
  // Before the first byte: from then on nobody may take these for what the entry was before.
  uploader.store.replace(entry);
  co_return co_await send(uploader, entry, true);
}

}  // namespace

ShareUploader::ShareUploader(Executor mainThread, std::string projectId, PendingUploadStore queue,
                             MakeUploader makeUploader)
    : sequence_(std::move(mainThread)),
      projectId_(std::move(projectId)),
      queue_(std::move(queue)),
      makeUploader_(std::move(makeUploader)) {}

Task<> ShareUploader::begin() {
  assert(sequence_.isCurrent() && claims_.empty());
  claims_ = co_await runOn(strand_, take(queue_, projectId_));
}

Task<> ShareUploader::end() {
  assert(sequence_.isCurrent());
  co_await runOn(strand_, release(std::exchange(claims_, {})));
}

Task<> ShareUploader::adopt(ProjectShareRecord record, ShareMetadata metadata) {
  assert(sequence_.isCurrent());
  auto found = co_await runOn(strand_, find(queue_, projectId_, record.slug, !claims_.empty()));
  for (auto& claim : found.claims) claims_.push_back(std::move(claim));
  sendableFingerprint_ = std::move(found.sendableFingerprint);
  entryId_ = std::move(found.id);
  // The project's document may have been replaced, and its link with it.
  if (entry_ && record.slug && entry_->slug != record.slug) entry_.reset();
  if (found.entry)
    entry_ = std::move(found.entry);
  else if (!(entry_ && entry_->completed) && record.videoId && record.slug && record.shareURL)
    adoptCompleted(record, metadata);
  if (entry_) entry_->id = entryId_;
}

PendingUpload ShareUploader::newEntry(const ShareMetadata& metadata) const {
  auto entry = ShareUploadBridge::pendingUpload({}, metadata);
  entry.sizeBytes = placeholderSizeBytes;
  entry.id = entryId_;
  return entry;
}

void ShareUploader::adoptCompleted(const ProjectShareRecord& record, const ShareMetadata& metadata) {
  entry_ = newEntry(metadata);
  entry_->videoId = record.videoId;
  entry_->slug = record.slug;
  entry_->shareURL = record.shareURL;
  entry_->completed = true;
}

Task<std::string> ShareUploader::run(PendingUpload entry, Progress progress, Step step) {
  assert(sequence_.isCurrent() && !claims_.empty());
  // What goes with the video is small: its own progress would only look like a step back.
  std::function<void(const UploadProgress&)> videoProgress = [progress =
                                                                  std::move(progress)](const auto& now) {
    if (now.phase == UploadProgress::Phase::video && !now.failure && !now.cancelled) progress(now.fraction);
  };
  auto uploader = co_await makeUploader_(std::move(videoProgress));
  auto result = co_await runOn(strand_, ran(std::move(uploader), std::move(entry), std::move(step)));
  if (result.entry) entry_ = std::move(result.entry);
  if (result.failure) std::rethrow_exception(result.failure);
  co_return std::move(result.link);
}

Task<std::string> ShareUploader::mint(ShareMetadata metadata) {
  auto entry = entry_ ? *entry_ : newEntry(metadata);
  Progress nothingIsSent = [](double) {};
  co_return co_await run(std::move(entry), std::move(nothingIsSent), reserve);
}

Task<> ShareUploader::uploadRendered(RenderedShare rendered, Progress progress) {
  if (!entry_) throw ShareUploadError(ShareUploadError::Kind::noReservation);
  auto entry = *entry_;
  entry.videoPath = rendered.file;
  entry.editFingerprint = std::move(rendered.fingerprint);
  entry.videoUploaded = false;
  entry.completed = false;
  entry.thumbPath = rendered.poster;
  entry.thumbUploaded = false;
  entry.captionsDeclared = true;
  entry.captionsPath.reset();
  entry.captionsLanguage.reset();
  if (rendered.captions) {
    entry.captionsPath = rendered.captions->file;
    entry.captionsLanguage = rendered.captions->language;
  }
  entry.captionsUploaded = false;
  co_await run(std::move(entry), std::move(progress), sendRendered);
}

Task<> ShareUploader::resumeUpload(Progress progress) {
  if (!entry_) throw ShareUploadError(ShareUploadError::Kind::noReservation);
  auto entry = *entry_;
  co_await run(std::move(entry), std::move(progress), sendAgain);
}

}  // namespace quillant
