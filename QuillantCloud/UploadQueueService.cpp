#include "QuillantCloud/UploadQueueService.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <memory>
#include <utility>

#include "QuillantCloud/APIError.h"
#include "QuillantCloud/HttpUploadTransport.h"
#include "QuillantCloud/Uploader.h"

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
  return last.secondsSince2001 + retryDelay(entry.attempts) - now.secondsSince2001;
}

std::vector<UploadQueueService::EntrySummary> UploadQueueService::sweep(Date now, bool signedIn) const {
  std::vector<EntrySummary> summaries;
  for (auto& entry : store.all()) {
    if (entry.isFinished()) continue;
    EntryState state = Eligible{};
    if (entry.blockedOnAuth.value_or(false) || !signedIn)
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
                          .clock = clock};
  RunResult result;
  for (auto& entry : store.all()) {
    if (entry.isFinished()) {
      // Its process died between the last answer and this.
      store.remove(entry.id);
      continue;
    }
    if (!force && secondsUntilDue(entry, now) > 0) {
      result.skippedBackoff.push_back(entry.id);
      continue;
    }
    try {
      co_await uploader.runRemaining(entry, false);
      (entry.completed ? result.completed : result.stillPending).push_back(entry.id);
    } catch (const Error& error) {
      result.stillPending.push_back(entry.id);
      if (APIError::isTokenExpired(error)) {
        recordExpiredSignIn(entry, now);
        result.needAuth = true;
        break;  // the others would fail alike
      }
      recordFailure(entry, now, error.description());
    }
  }
  co_return result;
}

void UploadQueueService::recordExpiredSignIn(PendingUpload& entry, Date now) const {
  entry.recordExpiredSignIn("authentication expired — run `quillant login`", now);
  store.saveIfPossible(entry);
  log(fmt::format("upload {} is waiting for sign-in — recording is safe at {}", entry.shortId(),
                  entry.videoPath));
}

void UploadQueueService::recordFailure(PendingUpload& entry, Date now, const std::string& error) const {
  entry.recordFailure(error, now);
  store.saveIfPossible(entry);
  log(fmt::format("upload {} failed (attempt {}); will retry in ~{}s — recording safe at {}", entry.shortId(),
                  entry.attempts, static_cast<std::int64_t>(retryDelay(entry.attempts)), entry.videoPath));
}

}  // namespace quillant
