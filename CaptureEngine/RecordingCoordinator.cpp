#include "CaptureEngine/RecordingCoordinator.h"

#include <algorithm>
#include <asio/bind_cancellation_slot.hpp>
#include <asio/cancellation_signal.hpp>
#include <cassert>
#include <utility>

#include "CaptureEngine/DiskPressure.h"
#include "CaptureEngine/RecoveryService.h"
#include "CaptureEngine/ScreenCapturer.h"
#include "Core/HostClock.h"

namespace quillant {

namespace {

/// A plain function as a task, so that it can be run on a strand.
template <class Work>
auto asTask(Work work) -> Task<std::invoke_result_t<Work>> {
  co_return work();
}

}  // namespace

std::shared_ptr<RecordingCoordinator> RecordingCoordinator::make(CaptureServices services) {
  return make(Environment{
      .makeCapturer = [services](Request request,
                                 FailureCallback onFailure) -> Task<std::shared_ptr<SessionCapturing>> {
        co_return co_await ScreenCapturer::make(services, std::move(request.options), std::move(onFailure));
      },
      .now = HostClock::now,
      .sleep = sleepSeconds,
      .availableBytes = DiskPressure::availableBytes});
}

std::shared_ptr<RecordingCoordinator> RecordingCoordinator::make(Environment environment) {
  return std::shared_ptr<RecordingCoordinator>(new RecordingCoordinator(std::move(environment)));
}

RecordingCoordinator::RecordingCoordinator(Environment environment) : environment_(std::move(environment)) {}

RecordingCoordinator::~RecordingCoordinator() {
  for (const auto& [id, observer] : phaseObservers_) observer.finish();
}

// The operations: each holds the coordinator and runs its work on the strand.

Task<RecordingCoordinator::Phase> RecordingCoordinator::phase() {
  return runOn(strand_, asTask([self = shared_from_this()] { return phaseOf(self->state_); }));
}

Task<double> RecordingCoordinator::elapsedSeconds() {
  return runOn(strand_, asTask([self = shared_from_this()] { return self->secondsRecorded(); }));
}

Task<AsyncStream<RecordingCoordinator::Phase>> RecordingCoordinator::phaseStream() {
  return runOn(strand_, asTask([self = shared_from_this()] { return self->observePhases(); }));
}

Task<RecordingCoordinator::Outcome> RecordingCoordinator::record(Request request) {
  const auto self = shared_from_this();
  co_return co_await runOn(strand_, runSession(std::move(request)));
}

Task<void> RecordingCoordinator::stop() {
  const auto self = shared_from_this();
  co_await runOn(strand_, finish(nullptr));
}

Task<void> RecordingCoordinator::discard() {
  const auto self = shared_from_this();
  co_await runOn(strand_, discardSession());
}

Task<void> RecordingCoordinator::pause() {
  return runOn(strand_, asTask([self = shared_from_this()] { self->pauseSession(); }));
}

Task<void> RecordingCoordinator::resume() {
  return runOn(strand_, asTask([self = shared_from_this()] { self->resumeSession(); }));
}

// The session.

Task<RecordingCoordinator::Outcome> RecordingCoordinator::runSession(Request request) {
  assert(sequence_.isCurrent());
  if (starting_ || !std::holds_alternative<Idle>(state_))
    co_return FailedToStart{"a recording is already in progress"};

  starting_ = true;
  ++session_;
  failureWhileStarting_ = nullptr;
  std::shared_ptr<SessionCapturing> capturer;
  std::exception_ptr problem;
  try {
    capturer = co_await environment_.makeCapturer(request, failureCallback());
    co_await capturer->start();
  } catch (...) {  // memory or descriptors that run out end a start, too
    problem = std::current_exception();
  }
  starting_ = false;
  if (problem) co_return FailedToStart{describe(problem)};

  recordingStartHost_ = environment_.now();
  setState(Recording{std::move(capturer)});
  const Continuation<Outcome> finished(strand_);
  finishContinuation_ = finished;
  const auto limit = std::make_shared<asio::cancellation_signal>();
  asio::co_spawn(strand_, endAtLimit(shared_from_this(), request.duration, session_),
                 asio::bind_cancellation_slot(limit->slot(), [limit](const std::exception_ptr&) {}));
  if (failureWhileStarting_) sessionFailed(session_, std::exchange(failureWhileStarting_, nullptr));

  auto outcome = co_await finished.wait();
  limit->emit(asio::cancellation_type::terminal);
  co_return outcome;
}

FailureCallback RecordingCoordinator::failureCallback() {
  return [weak = weak_from_this(), session = session_](std::exception_ptr error) {
    const auto self = weak.lock();
    if (!self) return;
    asio::post(self->strand_,
               [self, session, error = std::move(error)] { self->sessionFailed(session, error); });
  };
}

void RecordingCoordinator::sessionFailed(std::uint64_t session, std::exception_ptr error) {
  assert(sequence_.isCurrent());
  if (session != session_) return;
  if (starting_)
    failureWhileStarting_ = std::move(error);
  else
    startDetached(strand_, finishHolding(shared_from_this(), std::move(error)));
}

Task<void> RecordingCoordinator::finishHolding(std::shared_ptr<RecordingCoordinator> self,
                                               std::exception_ptr failure) {
  co_await self->finish(std::move(failure));
}

Task<void> RecordingCoordinator::endAtLimit(std::shared_ptr<RecordingCoordinator> self, double duration,
                                            std::uint64_t session) {
  std::exception_ptr problem;
  try {
    co_await self->environment_.sleep(duration);
  } catch (...) {  // nothing else would ever end the session
    problem = std::current_exception();
  }
  if (self->session_ == session) co_await self->finish(std::move(problem));
}

Task<void> RecordingCoordinator::finish(std::exception_ptr failure) {
  auto capturer = activeCapturer();
  if (!capturer) co_return;
  setState(Stopping{});
  SessionCapturing::Finalized finalized;
  try {
    finalized = co_await capturer->stopAndFinalize();
  } catch (...) {  // not even its first step could be taken: what is on the disk is what there is
    finalized.stopError = std::current_exception();
    finalized.artifacts.screenVideo = capturer->outputURL();
  }
  capturer.reset();
  finishContinuation_->resume(outcome(std::move(failure), std::move(finalized)));
  finishContinuation_.reset();
  ++session_;
  recordingStartHost_ = MediaTime::invalid();
  setState(Idle{});
}

RecordingCoordinator::Outcome RecordingCoordinator::outcome(
    std::exception_ptr failure, SessionCapturing::Finalized finalized) const noexcept {
  if (discarding_) return Discarded{};
  if (!failure && !finalized.stopError) return Completed{std::move(finalized.artifacts)};
  SessionFailed failed{.reason = "out of memory", .salvaged = std::move(finalized.artifacts)};
  try {
    failed.reason = failure ? describe(failure) : "stop failed: " + describe(finalized.stopError);
    failed.cause =
        DiskPressure::classify(environment_.availableBytes(failed.salvaged.screenVideo.parent_path()));
  } catch (...) {  // whoever waits for the outcome gets it with what is known
  }
  return failed;
}

Task<void> RecordingCoordinator::discardSession() {
  auto capturer = activeCapturer();
  if (!capturer) co_return;
  const auto outputURL = capturer->outputURL();
  capturer.reset();  // its session takes it along
  discarding_ = true;
  co_await finish(nullptr);
  discarding_ = false;
  RecoveryService::removeArtifacts(outputURL);
}

void RecordingCoordinator::pauseSession() {
  const auto* recording = std::get_if<Recording>(&state_);
  if (!recording) return;
  recording->capturer->pauseClock().pause(environment_.now());
  setState(Paused{recording->capturer});
}

void RecordingCoordinator::resumeSession() {
  const auto* paused = std::get_if<Paused>(&state_);
  if (!paused) return;
  paused->capturer->pauseClock().resume(environment_.now());
  setState(Recording{paused->capturer});
}

// The state and who watches it.

RecordingCoordinator::Phase RecordingCoordinator::phaseOf(const State& state) {
  struct Name {
    Phase operator()(const Idle&) const { return Phase::idle; }
    Phase operator()(const Recording&) const { return Phase::recording; }
    Phase operator()(const Paused&) const { return Phase::paused; }
    Phase operator()(const Stopping&) const { return Phase::stopping; }
  };
  return std::visit(Name{}, state);
}

std::shared_ptr<SessionCapturing> RecordingCoordinator::activeCapturer() const {
  assert(sequence_.isCurrent());
  if (const auto* recording = std::get_if<Recording>(&state_)) return recording->capturer;
  if (const auto* paused = std::get_if<Paused>(&state_)) return paused->capturer;
  return nullptr;
}

void RecordingCoordinator::setState(State state) {
  assert(sequence_.isCurrent());
  state_ = std::move(state);
  for (const auto& [id, observer] : phaseObservers_) observer.yield(phaseOf(state_));
}

double RecordingCoordinator::secondsRecorded() const {
  const auto capturer = activeCapturer();
  if (!capturer || !recordingStartHost_.isValid()) return 0;
  const auto now = environment_.now();
  const auto recorded = now - recordingStartHost_ - capturer->pauseClock().pausedTime(now);
  return std::max(0.0, recorded.seconds());
}

AsyncStream<RecordingCoordinator::Phase> RecordingCoordinator::observePhases() {
  assert(sequence_.isCurrent());
  const auto id = UUID::random();
  auto [stream, source] = AsyncStream<Phase>::make([weak = weak_from_this(), id] {
    if (const auto self = weak.lock())
      asio::post(self->strand_, [self, id] { self->phaseObservers_.erase(id); });
  });
  source.yield(phaseOf(state_));
  phaseObservers_.emplace(id, std::move(source));
  return std::move(stream);
}

}  // namespace quillant
