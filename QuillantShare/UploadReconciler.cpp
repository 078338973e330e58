#include "QuillantShare/UploadReconciler.h"

#include <fmt/format.h>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/PendingUploadWalk.h"
#include "QuillantCloud/Uploader.h"
#include "QuillantShare/ShareLedger.h"

namespace quillant {

Task<UploadReconciler::Summary> UploadReconciler::reconcile(Date now) const {
  Summary summary;
  const Uploader uploader{.api = api, .store = queue, .transport = transport, .log = log, .clock = clock};
  const PendingUploadWalk walk{.store = queue, .log = log};
  const auto ledger = co_await ShareLedger::read(projects);
  const auto visit = [&](PendingUpload& entry) -> Task<bool> {
    std::optional<UploadOutcome> outcome;  // none while the service has not called the video ready
    try {
      co_await uploader.runRemaining(entry, false);
      if (entry.completed) outcome = UploadOutcome::live;
    } catch (const Error& error) {
      outcome = recordFailure(entry, error, now);
    }
    if (!outcome) co_return true;
    ++(*outcome == UploadOutcome::live          ? summary.completed
       : *outcome == UploadOutcome::needsSignIn ? summary.blocked
                                                : summary.failed);
    co_await ledger.note(entry, *outcome);
    co_return true;
  };
  try {
    co_await walk.run(visit);
  } catch (const Error& error) {
    log(fmt::format("the uploads cannot be resumed: {}", error.description()));
  }
  co_return summary;
}

UploadOutcome UploadReconciler::recordFailure(PendingUpload& entry, const Error& error, Date now) const {
  if (APIError::isTokenExpired(error)) {
    entry.recordExpiredSignIn("authentication expired — sign in again", now);
    queue.saveIfPossible(entry);
    log(fmt::format("upload {} is waiting for sign-in — recording is safe at {}", entry.shortId(),
                    entry.videoPath));
    return UploadOutcome::needsSignIn;
  }
  entry.recordFailure(error.description(), now);
  queue.saveIfPossible(entry);
  log(fmt::format("upload {} resume failed (attempt {}) — recording safe at {}", entry.shortId(),
                  entry.attempts, entry.videoPath));
  return UploadOutcome::failed;
}

}  // namespace quillant
