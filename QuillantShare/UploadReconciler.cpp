#include "QuillantShare/UploadReconciler.h"

#include <exception>
#include <fmt/format.h>
#include <utility>

#include "Core/Log.h"
#include "QuillantShare/ShareRecords.h"

namespace quillant {

namespace {

void change(ProjectShareRecord& record, const PendingUpload& entry, UploadOutcome outcome) {
  // The project may have another link by now, if its document was replaced.
  if (record.slug != entry.slug) return;
  switch (outcome) {
    case UploadOutcome::live:
      record.status = ProjectShareStatus::ready;
      record.lastUploadError.reset();
      if (!entry.editFingerprint) return;
      record.lastUploadedEditFingerprint = entry.editFingerprint;
      record.uploadedSizeBytes = entry.sizeBytes;
      return;
    case UploadOutcome::needsSignIn:
      record.status = ProjectShareStatus::pending;
      record.lastUploadError = "Sign in again to finish sending this link — it stays the same.";
      return;
    case UploadOutcome::failed:
      record.status = ProjectShareStatus::pending;
      record.lastUploadError = unfinishedUpload;
      return;
  }
}

}  // namespace

Task<UploadReconciler::Summary> UploadReconciler::reconcile(Date now, Occasion occasion) const {
  Summary summary;
  const auto ended = [&](PendingUpload entry, UploadOutcome outcome) -> Task<> {
    if (outcome == UploadOutcome::failed) ++summary.failed;
    if (outcome == UploadOutcome::needsSignIn) ++summary.blocked;
    co_await note(std::move(entry), outcome);
  };
  const UploadQueueService service{.store = queue,
                                   .transport = transport,
                                   .log = log,
                                   .progress = progress,
                                   .ended = ended,
                                   .clock = clock};
  try {
    summary.run = co_await service.resumePending(api, now, occasion);
    summary.completed = static_cast<int>(summary.run->completed.size());
  } catch (const std::exception& error) {
    log(fmt::format("the uploads cannot be resumed: {}", error.what()));
  }
  co_return summary;
}

Task<std::optional<std::string>> UploadReconciler::projectOf(std::string slug) const {
  std::optional<std::string> project;
  for (const auto& [id, record] : co_await projects.shareRecords())
    if (record.slug == slug) project = id;
  co_return project;
}

Task<> UploadReconciler::note(PendingUpload entry, UploadOutcome outcome) const {
  if (!entry.slug) co_return;
  std::string project = "?";
  try {
    const auto found = co_await projectOf(*entry.slug);
    if (!found) co_return;
    project = *found;
    const std::function<void(ProjectShareRecord&)> note = [&](auto& record) {
      change(record, entry, outcome);
    };
    co_await projects.updateShare(project, note);
  } catch (const std::exception& error) {
    Log::write("reconcile: share-record update failed for {}: {}", project, error.what());
  }
}

}  // namespace quillant
