#include "QuillantCloud/UploadQueueService.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <utility>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/PendingUploadWalk.h"
#include "QuillantCloud/UploadError.h"

namespace quillant {

void UploadQueueService::printLine(const std::string& line) {
  const auto whole = line + "\n";
  std::fwrite(whole.data(), 1, whole.size(), stdout);
}

double UploadQueueService::retryDelay(std::int64_t attempts) const {
  if (attempts < 1) return 0;
  return std::min(baseSeconds * std::pow(2.0, static_cast<double>(attempts - 1)), capSeconds);
}

double UploadQueueService::secondsUntilDue(const PendingUpload& entry, Date now) const {
  const auto last = entry.lastAttemptAt.value_or(Date::distantPast());
  // A clock that has been set right since: how long ago the attempt was nobody knows.
  if (last > now) return 0;
  return last.secondsSince2001 + retryDelay(entry.attempts) - now.secondsSince2001;
}

std::vector<UploadQueueService::EntrySummary> UploadQueueService::sweep(Date now, bool signedIn) const {
  std::vector<EntrySummary> summaries;
  for (auto& entry : store.all()) {
    if (entry.isFinished()) continue;
    EntryState state = Eligible{};
    if (const auto process = store.claimant(entry.id))
      state = UnderWay{*process};
    else if (const auto change = Uploader::sizeChange(entry))
      state = *change;
    else if (entry.blockedOnAuth.value_or(false) || !signedIn)
      state = BlockedOnAuth{};
    else if (const double retryIn = secondsUntilDue(entry, now); retryIn > 0)
      state = BackingOff{retryIn};
    summaries.push_back({std::move(entry), state});
  }
  return summaries;
}

Task<UploadQueueService::RunResult> UploadQueueService::resumePending(QuillantAPI api, Date now,
                                                                      bool force) const {
  const auto transport = std::make_shared<HttpUploadTransport>(api.http);
  const Uploader uploader{.api = std::make_shared<QuillantAPI>(std::move(api)),
                          .store = store,
                          .transport = transport,
                          .log = log,
                          .progress = progress,
                          .clock = clock};
  RunResult result;
  const PendingUploadWalk walk{
      .store = store, .log = log, .leave = [&result](const PendingUpload& entry, auto obstacle) {
        (obstacle == PendingUploadWalk::Obstacle::underWay ? result.underWay : result.stillPending)
            .push_back(entry.id);
      }};
  const auto visit = [&](PendingUpload& entry) -> Task<bool> {
    if (!force && secondsUntilDue(entry, now) > 0 && !Uploader::sizeChange(entry))
      result.skippedBackoff.push_back(entry.id);
    else if (const auto outcome = co_await run(uploader, entry, now, result))
      co_await ended(entry, *outcome);
    co_return !result.needAuth && !result.cancelled;  // the others would fail alike
  };
  co_await walk.run(visit);
  co_return result;
}

Task<std::optional<UploadOutcome>> UploadQueueService::run(const Uploader& uploader, PendingUpload& entry,
                                                           Date now, RunResult& result) const {
  try {
    co_await uploader.runRemaining(entry, false);
    (entry.completed ? result.completed : result.stillPending).push_back(entry.id);
    co_return entry.completed ? std::optional(UploadOutcome::live) : std::nullopt;
  } catch (const Error& error) {
    if (UploadError::isSizeChanged(error)) {
      result.changed.push_back(entry.id);
      recordChange(entry, error.description());
      co_return UploadOutcome::failed;
    }
    result.stillPending.push_back(entry.id);
    const auto* uploadError = dynamic_cast<const UploadError*>(&error);
    result.cancelled = uploadError != nullptr && uploadError->isCancelled();
    if (result.cancelled) co_return std::nullopt;
    result.needAuth = APIError::isTokenExpired(error);
    if (result.needAuth)
      recordExpiredSignIn(entry, now);
    else
      recordFailure(entry, now, error.description());
    co_return result.needAuth ? UploadOutcome::needsSignIn : UploadOutcome::failed;
  }
}

void UploadQueueService::recordExpiredSignIn(PendingUpload& entry, Date now) const {
  entry.recordExpiredSignIn("authentication expired — run `quillant login`", now);
  store.saveIfPossible(entry);
  log(fmt::format("upload {} is waiting for sign-in — recording is safe at {}", entry.shortId(),
                  entry.videoPath));
}

void UploadQueueService::recordChange(PendingUpload& entry, const std::string& error) const {
  entry.lastError = error;
  store.saveIfPossible(entry);
  log(fmt::format("upload {} cannot go on: {} — {}", entry.shortId(), error, entry.videoPath));
}

void UploadQueueService::recordFailure(PendingUpload& entry, Date now, const std::string& error) const {
  entry.recordFailure(error, now);
  store.saveIfPossible(entry);
  log(fmt::format("upload {} failed (attempt {}); will retry in ~{}s — recording safe at {}", entry.shortId(),
                  entry.attempts, static_cast<std::int64_t>(retryDelay(entry.attempts)), entry.videoPath));
}

}  // namespace quillant
