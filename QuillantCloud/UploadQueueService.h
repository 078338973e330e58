#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <sys/types.h>
#include <variant>
#include <vector>

#include "Core/Date.h"
#include "Core/Task.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantCloud/QuillantUploadAPI.h"
#include "QuillantCloud/UploadClock.h"
#include "QuillantCloud/UploadOutcome.h"
#include "QuillantCloud/UploadProgress.h"
#include "QuillantCloud/UploadTransport.h"
#include "QuillantCloud/Uploader.h"

namespace quillant {

/// Retries the pending uploads of a folder, each with exponential back-off. An upload is never given up.
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
  struct UnderWay {
    pid_t process = 0;  ///< Which runs it; 0 if that is not known.
    friend bool operator==(const UnderWay&, const UnderWay&) = default;
  };
  /// A file that has changed ends an upload: it waits for nothing any more. One that a share did not come to
  /// make waits for the next share.
  using EntryState = std::variant<BackingOff, Eligible, BlockedOnAuth, UnderWay, UploadError::SizeChanged,
                                  UploadError::NothingToSend>;

  struct EntrySummary {
    PendingUpload entry;
    EntryState state;
  };

  /// What a run is for.
  enum class Occasion {
    command,  ///< Its user waits: what is due is tried, up to a sign-in that has expired.
    force,    ///< The same, whatever the back-off.
    launch,   ///< Nobody waits: everything is tried once.
  };

  /// What became of the entries of a run, by their ids. What was not tried, after `cancelled` or where a
  /// command's run met `needAuth`, is in no list.
  struct RunResult {
    std::vector<std::string> completed;
    std::vector<std::string>
        changed;  ///< Their file is another one by now, or was never made; the log says so.
    std::vector<std::string> stillPending;
    std::vector<std::string> skippedBackoff;
    std::vector<std::string> underWay;  ///< Left to another run, of this process or another one.
    bool needAuth = false;
    bool cancelled =
        false;  ///< The entry that was under way is still pending; that is no failure of its own.

    friend bool operator==(const RunResult&, const RunResult&) = default;
  };

  PendingUploadStore store;
  std::shared_ptr<UploadTransport> transport{};             ///< By which runs send.
  std::function<void(const std::string&)> log = printLine;  ///< Any thread.
  double baseSeconds = 30;
  double capSeconds = 3600;
  /// As `Uploader` has it.
  std::function<void(const UploadProgress&)> progress = [](const UploadProgress&) {};
  /// Awaited while an entry's claim lasts, once it is known what its upload has come to: in this run, or in
  /// one whose process died before it could tell. Throws nothing.
  std::function<Task<>(PendingUpload, UploadOutcome)> ended = [](auto, auto) -> Task<> { co_return; };
  UploadClock clock{};

  /// The back-off after so many failures, in seconds.
  double retryDelay(std::int64_t attempts) const;
  /// The unfinished entries, oldest first, and what keeps each. Reads the folder only; throws `FileError` if
  /// that is not the user's own.
  std::vector<EntrySummary> sweep(Date now, bool signedIn) const;
  /// Runs the unfinished entries, one after another, oldest first. An entry that another run has is left to
  /// it, and the log says who that is. Await it on a strand; the service outlives the run. Throws as `sweep`
  /// does.
  Task<RunResult> resumePending(std::shared_ptr<QuillantUploadAPI> api, Date now, Occasion occasion) const;

  static void printLine(const std::string& line);

 private:
  /// A run under way.
  struct Run {
    Uploader uploader;
    Date now;
    Occasion occasion;
    RunResult result{};

    /// Whether the entries that are left would fail for want of a sign-in, and are not tried.
    bool isOver() const { return result.needAuth && occasion != Occasion::launch; }
  };

  // Each returns nothing if nothing has changed for whoever waits for the link.
  Task<std::optional<UploadOutcome>> visit(Run& run, PendingUpload& entry) const;
  Task<std::optional<UploadOutcome>> attempt(Run& run, PendingUpload& entry) const;
  std::optional<UploadOutcome> recordFailure(Run& run, PendingUpload& entry,
                                             const std::exception& error) const;
  /// Seconds until the entry's next attempt; zero or less when it is due.
  double secondsUntilDue(const PendingUpload& entry, Date now) const;
};

}  // namespace quillant
