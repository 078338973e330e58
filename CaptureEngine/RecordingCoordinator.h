#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/CaptureServices.h"
#include "CaptureEngine/FailureCause.h"
#include "CaptureEngine/RecordingArtifacts.h"
#include "CaptureEngine/SessionCapturing.h"
#include "Core/AsyncStream.h"
#include "Core/MediaTime.h"
#include "Core/OwningSequence.h"
#include "Core/Task.h"
#include "Core/UUID.h"

namespace quillant {

/// The public interface of the capture engine: takes a request, runs the session, and returns its outcome.
///
/// An actor: every operation may be called on any thread and runs on the coordinator's own strand. It records
/// many times in a row, one session at a time.
class RecordingCoordinator : public std::enable_shared_from_this<RecordingCoordinator> {
 public:
  struct Request {
    CaptureOptions options;
    double duration = 0;  ///< Seconds of wall time, pauses included, after which the session ends.
  };

  enum class Phase { idle, recording, paused, stopping };

  struct Completed {
    RecordingArtifacts artifacts;
  };
  struct SessionFailed {
    std::string reason;
    FailureCause cause = FailureCause::unknown;
    RecordingArtifacts salvaged;
  };
  /// Nothing was recorded, though an empty file may have been left.
  struct FailedToStart {
    std::string reason;
  };
  struct Discarded {};
  using Outcome = std::variant<Completed, SessionFailed, FailedToStart, Discarded>;

  /// Makes the capturer of one session. Throws an `Error`.
  using MakeCapturer =
      std::function<Task<std::shared_ptr<SessionCapturing>>(Request request, FailureCallback onFailure)>;

  /// What the coordinator does not decide itself.
  struct Environment {
    MakeCapturer makeCapturer;
    std::function<MediaTime()> now;  ///< The host clock.
    std::function<Task<bool>(double seconds)>
        sleep;  ///< False if it was cut short. A throw ends the session.
    /// Free bytes of the volume that holds a path.
    std::function<std::optional<std::int64_t>(const std::filesystem::path&)> availableBytes;
  };

  /// A coordinator whose sessions capture with `services`.
  static std::shared_ptr<RecordingCoordinator> make(CaptureServices services);
  static std::shared_ptr<RecordingCoordinator> make(Environment environment);
  ~RecordingCoordinator();
  RecordingCoordinator(const RecordingCoordinator&) = delete;
  RecordingCoordinator& operator=(const RecordingCoordinator&) = delete;

  Task<Phase> phase();
  /// Seconds recorded so far, pauses left out; 0 while nothing is recorded.
  Task<double> elapsedSeconds();
  /// The current phase at once, then every change.
  Task<AsyncStream<Phase>> phaseStream();

  /// Runs a whole session.
  Task<Outcome> record(Request request);
  Task<void> stop();
  /// Ends the session and removes every file of it.
  Task<void> discard();
  Task<void> pause();
  Task<void> resume();

 private:
  struct Idle {};
  struct Recording {
    std::shared_ptr<SessionCapturing> capturer;
  };
  struct Paused {
    std::shared_ptr<SessionCapturing> capturer;
  };
  struct Stopping {};
  using State = std::variant<Idle, Recording, Paused, Stopping>;

  explicit RecordingCoordinator(Environment environment);

  // What follows runs on the strand.
  static Phase phaseOf(const State& state);
  std::shared_ptr<SessionCapturing> activeCapturer() const;
  void setState(State state);
  Task<Outcome> runSession(Request request);
  FailureCallback failureCallback();
  void sessionFailed(std::uint64_t session, std::exception_ptr error);
  static Task<void> finishHolding(std::shared_ptr<RecordingCoordinator> self, std::exception_ptr failure);
  static Task<void> endAtLimit(std::shared_ptr<RecordingCoordinator> self, double duration,
                               std::uint64_t session);
  Task<void> finish(std::exception_ptr failure);
  Outcome outcome(std::exception_ptr failure, SessionCapturing::Finalized finalized) const noexcept;
  Task<void> discardSession();
  void pauseSession();
  void resumeSession();
  double secondsRecorded() const;
  AsyncStream<Phase> observePhases();

  const Environment environment_;
  const Executor strand_ = makeStrand();
  const OwningSequence sequence_{strand_};
  State state_ = Idle{};
  bool starting_ = false;  // a capturer is being made and started; the phase is still idle
  std::exception_ptr failureWhileStarting_;
  bool discarding_ = false;
  std::uint64_t session_ = 0;  // rises with every start and end: what belongs to one never ends another
  std::optional<Continuation<Outcome>> finishContinuation_;
  MediaTime recordingStartHost_ = MediaTime::invalid();
  std::map<UUID, AsyncStream<Phase>::Source> phaseObservers_;
};

}  // namespace quillant
