#pragma once

#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "Core/Date.h"
#include "Core/Task.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantAPI.h"
#include "QuillantCloud/UploadClock.h"

namespace quillant {

/// Drives the pending uploads of a folder on, each after a pause that doubles with every failure. An upload
/// is never given up.
struct UploadQueueService {
  struct BackingOff {
    double retryIn = 0;  ///< Seconds.
    friend bool operator==(const BackingOff&, const BackingOff&) = default;
  };
  struct Eligible {
    friend bool operator==(const Eligible&, const Eligible&) = default;
  };
  struct BlockedOnAuth {
    friend bool operator==(const BlockedOnAuth&, const BlockedOnAuth&) = default;
  };
  using EntryState = std::variant<BackingOff, Eligible, BlockedOnAuth>;

  struct EntrySummary {
    PendingUpload entry;
    EntryState state;
  };

  /// What became of the entries of a run, by their ids. After `needAuth` the rest was not tried and is in no
  /// list.
  struct RunResult {
    std::vector<std::string> completed;
    std::vector<std::string> stillPending;
    std::vector<std::string> skippedBackoff;
    bool needAuth = false;

    friend bool operator==(const RunResult&, const RunResult&) = default;
  };

  PendingUploadStore store;
  std::function<void(const std::string&)> log = printLine;  ///< Any thread.
  double baseSeconds = 30;
  double capSeconds = 3600;
  UploadClock clock{};

  /// The pause after so many failures, in seconds.
  double retryDelay(std::int64_t attempts) const;
  /// The unfinished entries, oldest first, and what keeps each. Reads the folder only.
  std::vector<EntrySummary> sweep(Date now, bool signedIn) const;
  /// Runs the unfinished entries, one after another, oldest first; `force` pays no heed to the pauses. Two
  /// runs must not overlap. The service outlives the run.
  Task<RunResult> resumePending(QuillantAPI api, Date now, bool force) const;

  static void printLine(const std::string& line);

 private:
  /// Seconds until the entry's next attempt; zero or less when it is due.
  double secondsUntilDue(const PendingUpload& entry, Date now) const;
  void recordExpiredSignIn(PendingUpload& entry, Date now) const;
  void recordFailure(PendingUpload& entry, Date now, const std::string& error) const;
};

}  // namespace quillant
