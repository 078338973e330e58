#include <deque>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <stdexcept>

#include "CaptureEngine/RecordingCoordinator.h"
#include "CaptureEngine/RecordingFiles.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/ScriptedSession.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

using Coordinator = RecordingCoordinator;
using Phase = Coordinator::Phase;

/// A coordinator whose sessions, clock, limit and disk belong to the test.
class RecordingCoordinatorTest : public testing::Test {
 protected:
  RecordingCoordinatorTest() {
    script.finalized.artifacts.screenVideo = folder / "x.mp4";
    script.untilLimit = [this]() -> Task<void> {
      const Continuation<bool> limit(co_await asio::this_coro::executor);
      limits.push_back(limit);
      ++limitsSet;
      co_await limit.wait();
    };
  }

  std::future<Coordinator::Outcome> startRecording() {
    const auto expected = limitsSet + 1;
    auto outcome = std::async(std::launch::async, [this] {
      return runBlocking(coordinator->record({.options = {.outputURL = folder / "x.mp4"}}));
    });
    EXPECT_TRUE(eventually([&] { return limitsSet == expected; }));
    EXPECT_EQ(phase(), Phase::recording);
    return outcome;
  }
  Phase phase() { return runBlocking(coordinator->phase()); }
  double elapsed() { return runBlocking(coordinator->elapsedSeconds()); }
  void stop() { runBlocking(coordinator->stop()); }

  TemporaryFolder folder;
  ScriptedSession::Script script;
  std::deque<Continuation<bool>> limits;  ///< Of each session that has begun.
  std::atomic<int> limitsSet = 0;
  std::shared_ptr<Coordinator> coordinator = script.makeCoordinator();
};

TEST_F(RecordingCoordinatorTest, TellsEveryPhaseToThoseWhoWatch) {
  auto phases = runBlocking(coordinator->phaseStream());
  // Nothing is recorded: none of these does anything.
  stop();
  runBlocking(coordinator->discard());
  runBlocking(coordinator->pause());
  auto outcome = startRecording();
  runBlocking(coordinator->resume());  // not paused: nothing
  runBlocking(coordinator->pause());
  runBlocking(coordinator->pause());  // paused already: nothing
  runBlocking(coordinator->resume());
  stop();
  const auto completed = std::get<Coordinator::Completed>(outcome.get());
  EXPECT_EQ(completed.artifacts, script.finalized.artifacts);

  for (const auto expected :
       {Phase::idle, Phase::recording, Phase::paused, Phase::recording, Phase::stopping, Phase::idle})
    EXPECT_EQ(runBlocking(phases.next()), expected);
  coordinator.reset();
  EXPECT_EQ(runBlocking(phases.next()), std::nullopt);
}

TEST_F(RecordingCoordinatorTest, RefusesASecondRecordingWhileOneStartsOrRuns) {
  std::vector<std::string> reasons;
  const auto tryASecond = [&]() -> Task<void> {
    const Coordinator::Request request{.options = {.outputURL = folder / "y.mp4"}};
    const auto outcome = co_await coordinator->record(request);
    reasons.push_back(std::get<Coordinator::FailedToStart>(outcome).reason);
  };
  script.whileStarting = tryASecond;
  auto outcome = startRecording();
  runBlocking(tryASecond());
  EXPECT_EQ(reasons, std::vector<std::string>(2, "a recording is already in progress"));
  EXPECT_EQ(phase(), Phase::recording);
  stop();
  EXPECT_TRUE(std::holds_alternative<Coordinator::Completed>(outcome.get()));
}

TEST_F(RecordingCoordinatorTest, DropsASessionThatCannotStart) {
  auto phases = runBlocking(coordinator->phaseStream());
  const auto reason = [&] {
    return std::get<Coordinator::FailedToStart>(runBlocking(coordinator->record({}))).reason;
  };
  script.makeError = scriptedError("no such display");
  EXPECT_EQ(reason(), "no such display");
  script.makeError = nullptr;
  script.whileStarting = []() -> Task<void> {
    throw ScriptedError("the server refuses");
    co_return;
  };
  EXPECT_EQ(reason(), "the server refuses");
  script.makeError = std::make_exception_ptr(std::runtime_error("no descriptors"));
  EXPECT_EQ(reason(), "no descriptors");
  EXPECT_EQ(script.stops, 0);
  coordinator.reset();
  EXPECT_EQ(runBlocking(phases.next()), Phase::idle);
  EXPECT_EQ(runBlocking(phases.next()), std::nullopt);  // no phase came of the failed starts
}

TEST_F(RecordingCoordinatorTest, SaysHowASessionFailedAndWhetherTheDiskWasFull) {
  struct Case {
    const char* failure;
    const char* stopError;
    std::optional<std::int64_t> freeBytes;
    const char* reason;
    FailureCause cause;
  };
  for (const auto& [failure, stopError, bytes, reason, cause] : {
           Case{"the stream broke", nullptr, 3'000'000'000, "the stream broke", FailureCause::unknown},
           Case{"the stream broke", "lost", 2'500'000'000, "the stream broke", FailureCause::diskSpace},
           Case{nullptr, "lost", 2'500'000'001, "stop failed: lost", FailureCause::unknown},
           Case{nullptr, "lost", std::nullopt, "stop failed: lost", FailureCause::unknown},
           Case{nullptr, "lost", 0, "stop failed: lost", FailureCause::diskSpace},
       }) {
    script.freeBytes = bytes;
    script.finalized.stopError = stopError ? scriptedError(stopError) : nullptr;
    auto outcome = startRecording();
    if (failure)
      script.onFailure(scriptedError(failure));
    else
      stop();
    const auto failed = std::get<Coordinator::SessionFailed>(outcome.get());
    EXPECT_EQ(failed.reason, reason);
    EXPECT_EQ(failed.cause, cause) << reason;
    EXPECT_EQ(failed.salvaged, script.finalized.artifacts);
  }
  script.whileStopping = [] { throw std::bad_alloc(); };
  script.diskError = std::make_exception_ptr(std::bad_alloc());
  auto outcome = startRecording();
  stop();
  const auto failed = std::get<Coordinator::SessionFailed>(outcome.get());
  EXPECT_EQ(failed.reason, "stop failed: std::bad_alloc");
  EXPECT_EQ(failed.salvaged.screenVideo, script.finalized.artifacts.screenVideo);
}

TEST_F(RecordingCoordinatorTest, EndsASessionThatHasNoLimitAnyMore) {
  script.untilLimit = []() -> Task<void> {
    throw std::bad_alloc();
    co_return;
  };
  const auto outcome = runBlocking(coordinator->record({.options = {.outputURL = folder / "x.mp4"}}));
  EXPECT_EQ(std::get<Coordinator::SessionFailed>(outcome).reason, "std::bad_alloc");
}

TEST_F(RecordingCoordinatorTest, EndsASessionThatFailsWhileItStarts) {
  script.whileStarting = [&]() -> Task<void> {
    script.onFailure(scriptedError("too soon"));
    co_await coordinator->phase();  // until the coordinator has heard of it
  };
  const auto outcome = runBlocking(coordinator->record({.options = {.outputURL = folder / "x.mp4"}}));
  EXPECT_EQ(std::get<Coordinator::SessionFailed>(outcome).reason, "too soon");
}

TEST_F(RecordingCoordinatorTest, DiscardsWhilePausedAndLeavesNoFile) {
  const auto video = folder / "x.mp4";
  const auto files = {video, RecordingFiles::facecam(video), RecordingFiles::cursorTelemetry(video),
                      RecordingFiles::marker(video)};
  for (const auto& file : files) std::ofstream(file) << "data";
  // What fails while a session is being discarded changes nothing.
  script.whileStopping = [&] { script.onFailure(scriptedError("broken off")); };
  script.finalized.stopError = scriptedError("lost");

  auto outcome = startRecording();
  runBlocking(coordinator->pause());
  runBlocking(coordinator->discard());
  EXPECT_TRUE(std::holds_alternative<Coordinator::Discarded>(outcome.get()));
  for (const auto& file : files) EXPECT_FALSE(std::filesystem::exists(file)) << file;
}

TEST_F(RecordingCoordinatorTest, EndsAtItsLimitAlsoWhilePausedButNeverALaterSession) {
  auto first = startRecording();
  runBlocking(coordinator->pause());
  limits[0].resume(true);
  EXPECT_TRUE(std::holds_alternative<Coordinator::Completed>(first.get()));

  auto second = startRecording();
  stop();
  second.get();
  auto third = startRecording();
  limits[1].resume(true);
  EXPECT_EQ(phase(), Phase::recording);
  limits[2].resume(true);
  third.get();
  EXPECT_EQ(script.stops, 3);
}

TEST_F(RecordingCoordinatorTest, CountsTheSecondsThatWereRecorded) {
  auto outcome = startRecording();
  script.milliseconds = 4000;  // the clock is behind the start
  EXPECT_EQ(elapsed(), 0);
  script.milliseconds = 8000;
  EXPECT_EQ(elapsed(), 3);
  runBlocking(coordinator->pause());
  script.milliseconds = 10'000;
  EXPECT_EQ(elapsed(), 3);
  runBlocking(coordinator->resume());
  script.milliseconds = 10'500;
  EXPECT_EQ(elapsed(), 3.5);
  stop();
  EXPECT_EQ(elapsed(), 0);
}

}  // namespace

}  // namespace quillant
