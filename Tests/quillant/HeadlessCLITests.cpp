#include <gmock/gmock.h>

#include "Tests/Support/ScriptedSession.h"
#include "quillant/HeadlessCLI.h"

namespace quillant {

namespace {

/// Runs the command in this process, over a session that ends as the test says.
class HeadlessCLITest : public testing::Test {
 protected:
  struct Result {
    int exitCode;
    std::string output;
    std::string errors;
  };

  Result record(std::vector<std::string> more = {}) {
    const auto sleep = [this](double) -> Task<bool> {
      if (onLimit) co_await onLimit();
      co_return true;
    };
    HeadlessCLI command([&] {
      coordinator = RecordingCoordinator::make(RecordingCoordinator::Environment{
          .makeCapturer = [this](RecordingCoordinator::Request asked,
                                 FailureCallback onFailure) -> Task<std::shared_ptr<SessionCapturing>> {
            request = asked;
            co_return std::make_shared<ScriptedSession>(script, std::move(onFailure));
          },
          .now = [] { return MediaTime::zero(); },
          .sleep = sleep,
          .availableBytes = [](const std::filesystem::path&) { return std::nullopt; }});
      return coordinator;
    });
    Arguments arguments{"quillant", "record", "--duration", "5", "--output", "/tmp/x.mp4"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_TRUE(command.shouldRun(arguments));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = command.run(arguments);
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  }

  ScriptedSession::Script script{.finalized = {.artifacts = {.screenVideo = "/tmp/x.mp4"}}};
  RecordingCoordinator::Request request;
  std::shared_ptr<RecordingCoordinator> coordinator;
  std::function<Task<void>()> onLimit;
};

TEST_F(HeadlessCLITest, NamesTheFilesOfACompletedRecording) {
  auto& artifacts = script.finalized.artifacts;
  auto result = record();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "quillant: recorded /tmp/x.mp4\n");
  EXPECT_EQ(result.errors, "");

  artifacts.facecam = "/tmp/x.facecam.mov";
  artifacts.cursorTelemetry = "/tmp/x.cursor.json";
  artifacts.clickDiagnostics = {.fromSystemEvents = true, .shortClicks = 2};
  artifacts.warnings = {"first", "second"};
  result = record();
  EXPECT_EQ(result.output,
            "quillant: recorded /tmp/x.mp4\nquillant: facecam /tmp/x.facecam.mov\n"
            "quillant: telemetry /tmp/x.cursor.json\n"
            "quillant: clicks from system events; 2 shorter than one sample gap\n");
  EXPECT_EQ(result.errors, "quillant: warning: first\nquillant: warning: second\n");

  artifacts.facecamOffsetMs = -12;
  artifacts.clickDiagnostics = {.fromSystemEvents = false, .shortClicks = 3};
  EXPECT_EQ(record().output,
            "quillant: recorded /tmp/x.mp4\nquillant: facecam /tmp/x.facecam.mov (offset -12 ms)\n"
            "quillant: telemetry /tmp/x.cursor.json\n"
            "quillant: clicks from button polling (fallback); 3 caught between samples\n");
}

TEST_F(HeadlessCLITest, TellsASessionThatFailedAndWhatIsLeftOfIt) {
  script.finalized.stopError = scriptedError("lost");
  script.finalized.artifacts.warnings = {"late"};
  const auto result = record();
  EXPECT_EQ(result.exitCode, 70);
  EXPECT_EQ(result.output, "quillant: partial salvaged at /tmp/x.mp4\n");
  EXPECT_EQ(result.errors,
            "quillant: recording failed mid-capture: stop failed: lost\nquillant: warning: late\n");
}

TEST_F(HeadlessCLITest, KeepsTheReasonWhyASessionCannotStart) {
  script.whileStarting = []() -> Task<void> {
    throw ScriptedError("the screen is gone — sorry");
    co_return;
  };
  const auto result = record();
  EXPECT_EQ(result.exitCode, 77);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "quillant: could not start recording: the screen is gone — sorry\n");
}

TEST_F(HeadlessCLITest, EndsWellWhenTheRecordingIsDiscarded) {
  onLimit = [&] { return coordinator->discard(); };
  const auto result = record();
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errors, "quillant: recording discarded\n");
}

TEST_F(HeadlessCLITest, CountsARunThatEndsWithoutReportingAsFailed) {
  script.whileStarting = []() -> Task<void> {
    throw std::runtime_error("out of everything");
    co_return;
  };
  const auto result = record();
  EXPECT_EQ(result.exitCode, 70);
  EXPECT_EQ(result.errors, "quillant: out of everything\n");
}

TEST_F(HeadlessCLITest, AsksForWhatTheWordsSay) {
  record({"--mic-device", "ABC", "--display", "7", "--no-telemetry", "--pause-after", "1"});
  EXPECT_EQ(request.outputURL, "/tmp/x.mp4");
  EXPECT_EQ(request.duration, 5);
  EXPECT_TRUE(request.mic);
  EXPECT_EQ(request.micDeviceID, "ABC");
  EXPECT_EQ(request.displayID, 7U);
  EXPECT_FALSE(request.telemetry);
  EXPECT_EQ(request.frameRate, std::nullopt);
  EXPECT_EQ(request.resolution, CaptureResolution::native);
}

}  // namespace

}  // namespace quillant
