#include <deque>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <mutex>

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
  RecordingCoordinatorTest() { script.finalized.artifacts.screenVideo = folder / "x.mp4"; }

  std::shared_ptr<Coordinator> makeCoordinator() {
    return Coordinator::make(Coordinator::Environment{
        .makeCapturer = [this](Coordinator::Request,
                               FailureCallback onFailure) -> Task<std::shared_ptr<SessionCapturing>> {
          if (makeError) std::rethrow_exception(makeError);
          co_return std::make_shared<ScriptedSession>(script, std::move(onFailure));
        },
        .now =
            [this] {
              return MediaTime{milliseconds, 1000};
            },
        .sleep = [this](double) { return sleepUntilReleased(); },
        .availableBytes = [this](const std::filesystem::path&) { return freeBytes; }});
  }

  Task<bool> sleepUntilReleased() {
    const Continuation<bool> limit(co_await asio::this_coro::executor);
    {
      const std::lock_guard lock(mutex);
      limits.push_back(limit);
    }
    co_return co_await limit.wait();
  }

  /// Lets the limit of the `index`th session pass.
  void passLimit(std::size_t index) {
    ASSERT_TRUE(eventually([&] {
      const std::lock_guard lock(mutex);
      return limits.size() > index;
    }));
    limits[index].resume(true);
  }

  std::future<Coordinator::Outcome> startRecording() {
    auto outcome = std::async(std::launch::async, [this] {
      return runBlocking(coordinator->record({.outputURL = folder / "x.mp4"}));
    });
    EXPECT_TRUE(eventually([&] { return phase() == Phase::recording; }));
    return outcome;
  }

  Phase phase() { return runBlocking(coordinator->phase()); }
  double elapsed() { return runBlocking(coordinator->elapsedSeconds()); }
  void stop() { runBlocking(coordinator->stop()); }

  TemporaryFolder folder;
  ScriptedSession::Script script;
  std::exception_ptr makeError;
  std::atomic<std::int64_t> milliseconds = 5000;
  std::optional<std::int64_t> freeBytes = 50'000'000'000;
  std::mutex mutex;
  std::deque<Continuation<bool>> limits;
  std::shared_ptr<Coordinator> coordinator = makeCoordinator();
};

TEST_F(RecordingCoordinatorTest, TellsEveryPhaseToThoseWhoWatch) {
  auto phases = runBlocking(coordinator->phaseStream());
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
    const Coordinator::Request request{.outputURL = folder / "y.mp4"};
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
  makeError = scriptedError("no such display");
  EXPECT_EQ(reason(), "no such display");
  makeError = nullptr;
  script.whileStarting = []() -> Task<void> {
    throw ScriptedError("the server refuses");
    co_return;
  };
  EXPECT_EQ(reason(), "the server refuses");
  EXPECT_EQ(script.stops, 0);

  script.whileStarting = nullptr;
  auto outcome = startRecording();
  stop();
  EXPECT_EQ(runBlocking(phases.next()), Phase::idle);
  EXPECT_EQ(runBlocking(phases.next()), Phase::recording);  // no phase came of the failed starts
}

TEST_F(RecordingCoordinatorTest, DoesNothingWhileIdle) {
  stop();
  runBlocking(coordinator->discard());
  runBlocking(coordinator->pause());
  runBlocking(coordinator->resume());
  EXPECT_EQ(phase(), Phase::idle);
  EXPECT_EQ(elapsed(), 0);
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
    freeBytes = bytes;
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
}

TEST_F(RecordingCoordinatorTest, EndsASessionThatFailsWhileItStarts) {
  script.whileStarting = [&]() -> Task<void> {
    script.onFailure(scriptedError("too soon"));
    co_await coordinator->phase();  // until the coordinator has heard of it
  };
  const auto outcome = runBlocking(coordinator->record({.outputURL = folder / "x.mp4"}));
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

  script.whileStopping = nullptr;
  script.finalized.stopError = nullptr;
  outcome = startRecording();
  stop();
  EXPECT_TRUE(std::holds_alternative<Coordinator::Completed>(outcome.get()));
}

TEST_F(RecordingCoordinatorTest, EndsAtItsLimitAlsoWhilePausedButNeverALaterSession) {
  auto first = startRecording();
  runBlocking(coordinator->pause());
  passLimit(0);
  EXPECT_TRUE(std::holds_alternative<Coordinator::Completed>(first.get()));

  auto second = startRecording();
  stop();
  second.get();
  auto third = startRecording();
  passLimit(1);
  EXPECT_EQ(phase(), Phase::recording);
  passLimit(2);
  third.get();
  EXPECT_EQ(script.stops, 3);
}

TEST_F(RecordingCoordinatorTest, CountsTheSecondsThatWereRecorded) {
  auto outcome = startRecording();
  milliseconds = 4000;  // the clock is behind the start
  EXPECT_EQ(elapsed(), 0);
  milliseconds = 8000;
  EXPECT_EQ(elapsed(), 3);
  runBlocking(coordinator->pause());
  milliseconds = 10'000;
  EXPECT_EQ(elapsed(), 3);
  runBlocking(coordinator->resume());
  milliseconds = 10'500;
  EXPECT_EQ(elapsed(), 3.5);
  stop();
  EXPECT_EQ(elapsed(), 0);
}

}  // namespace

}  // namespace quillant
