#include "QuillantCloud/UploadQueueService.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <utility>

#include "QuillantCloud/APIError.h"
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
    else if (entry.videoPath.empty())
      state = UploadError::NothingToSend{};
    else if (entry.blockedOnAuth.value_or(false) || !signedIn)
      state = BlockedOnAuth{};
    else if (const double retryIn = secondsUntilDue(entry, now); retryIn > 0)
      state = BackingOff{retryIn};
    summaries.push_back({std::move(entry), state});
  }
  return summaries;
}

Task<UploadQueueService::RunResult> UploadQueueService::resumePending(std::shared_ptr<QuillantUploadAPI> api,
                                                                      Date now, Occasion occasion) const {
  Run run{.uploader = {.api = std::move(api),
                       .store = store,
                       .transport = transport,
                       .log = log,
                       .progress = progress,
                       .clock = clock},
          .now = now,
          .occasion = occasion};
  const PendingUploadWalk walk{
      .store = store, .log = log, .leave = [&run](const PendingUpload& entry, auto obstacle) {
        if (run.isOver()) return;
        (obstacle == PendingUploadWalk::Obstacle::underWay ? run.result.underWay : run.result.stillPending)
            .push_back(entry.id);
      }};
  const auto visitAndTell = [&](PendingUpload& entry) -> Task<bool> {
    const bool wasFinished = entry.isFinished();
    const auto outcome = co_await visit(run, entry);
    if (outcome) co_await ended(entry, *outcome);
    if (wasFinished) store.remove(entry.id);  // only now: until it is told it is met again
    co_return !run.result.cancelled;
  };
  co_await walk.run(visitAndTell);
  co_return std::move(run.result);
}

Task<std::optional<UploadOutcome>> UploadQueueService::visit(Run& run, PendingUpload& entry) const {
  if (entry.isFinished()) co_return UploadOutcome::live;
  if (run.isOver()) co_return UploadOutcome::needsSignIn;
  const bool isDue = run.occasion != Occasion::command || secondsUntilDue(entry, run.now) <= 0;
  if (isDue || Uploader::sizeChange(entry)) co_return co_await attempt(run, entry);
  run.result.skippedBackoff.push_back(entry.id);
  co_return std::nullopt;
}

Task<std::optional<UploadOutcome>> UploadQueueService::attempt(Run& run, PendingUpload& entry) const {
  try {
    co_await run.uploader.runRemaining(entry, false);
    (entry.completed ? run.result.completed : run.result.stillPending).push_back(entry.id);
    co_return entry.completed ? std::optional(UploadOutcome::live) : std::nullopt;
  } catch (const std::exception& error) {
    co_return recordFailure(run, entry, error);
  }
}

std::optional<UploadOutcome> UploadQueueService::recordFailure(Run& run, PendingUpload& entry,
                                                               const std::exception& error) const {
  const bool isLaunch = run.occasion == Occasion::launch;
  if (UploadError::isFinal(error)) {
    run.result.changed.push_back(entry.id);
    entry.lastError = error.what();
    store.saveIfPossible(entry);
    log(fmt::format("upload {} cannot go on: {}{}{}", entry.shortId(), error.what(),
                    entry.videoPath.empty() ? "" : " — ", entry.videoPath));
    return UploadOutcome::failed;
  }
  run.result.stillPending.push_back(entry.id);
  run.result.cancelled = UploadError::isCancelled(error);
  if (run.result.cancelled) return std::nullopt;
  if (APIError::isTokenExpired(error)) {
    run.result.needAuth = true;
    entry.recordExpiredSignIn(
        isLaunch ? "authentication expired — sign in again" : "authentication expired — run `quillant login`",
        run.now);
    store.saveIfPossible(entry);
    log(fmt::format("upload {} is waiting for sign-in — recording is safe at {}", entry.shortId(),
                    entry.videoPath));
    return UploadOutcome::needsSignIn;
  }
  entry.recordFailure(error.what(), run.now);
  store.saveIfPossible(entry);
  const auto failure = isLaunch ? fmt::format("resume failed (attempt {})", entry.attempts)
                                : fmt::format("failed (attempt {}); will retry in ~{}s", entry.attempts,
                                              static_cast<std::int64_t>(retryDelay(entry.attempts)));
  log(fmt::format("upload {} {} — recording safe at {}", entry.shortId(), failure, entry.videoPath));
  return UploadOutcome::failed;
}

}  // namespace quillant
