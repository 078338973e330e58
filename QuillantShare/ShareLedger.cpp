#include "QuillantShare/ShareLedger.h"

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

Task<ShareLedger> ShareLedger::read(ProjectLibrary projects) {
  ShareLedger ledger(std::move(projects));
  try {
    const auto records = co_await ledger.projects_.shareRecords();
    for (const auto& [id, record] : records)
      if (record.slug) ledger.projectsBySlug_.insert_or_assign(*record.slug, id);
  } catch (const Error& error) {
    Log::write("reconcile: the projects cannot be listed: {}", error.description());
  }
  co_return ledger;
}

Task<> ShareLedger::note(PendingUpload entry, UploadOutcome outcome) const {
  const auto project = entry.slug ? projectsBySlug_.find(*entry.slug) : projectsBySlug_.end();
  if (project == projectsBySlug_.end()) co_return;
  const std::function<void(ProjectShareRecord&)> note = [&entry, outcome](auto& record) {
    change(record, entry, outcome);
  };
  try {
    co_await projects_.updateShare(project->second, note);
  } catch (const Error& error) {
    Log::write("reconcile: share-record update failed for {}: {}", project->second, error.description());
  }
}

}  // namespace quillant
