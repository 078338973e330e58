#include <atomic>
#include <gmock/gmock.h>

#include "Tests/Support/ScriptedSession.h"
#include "Tests/quillant/QuillantRun.h"
#include "quillant/Commands/HeadlessCLI.h"

namespace quillant {

namespace {

/// Runs the command in this process, over a session that ends as the test says.
class HeadlessCLITest : public testing::Test {
 protected:
  QuillantRun::Result record(const std::vector<std::string>& more = {}) {
    HeadlessCLI command([&] { return coordinator = script.makeCoordinator(); },
                        [&](const std::filesystem::path&) { return freeBytes(); });
    Arguments arguments{"quillant", "record", "--duration", "5", "--output", "/tmp/x.mp4"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_TRUE(command.shouldRun(arguments));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int code = command.run(arguments);
    return {code, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
  }

  ScriptedSession::Script script{.finalized = {.artifacts = {.screenVideo = "/tmp/x.mp4"}}};
  std::shared_ptr<RecordingCoordinator> coordinator;
  std::function<std::optional<std::int64_t>()> freeBytes = [] { return std::nullopt; };
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

TEST_F(HeadlessCLITest, WarnsOfAShortDiskBeforeItStartsAndAsItFalls) {
  std::atomic<int> looks = 0;
  freeBytes = [&] { return ++looks < 3 ? 1'900'000'000 : 949'000'000; };
  script.untilLimit = [&]() -> Task<void> {
    EXPECT_EQ(looks, 1);
    while (looks < 4) co_await sleepSeconds(0.02);
  };
  EXPECT_EQ(record().errors,
            "quillant: warning: only 1.9 GB is free — Quillant needs at least 2 GB free so a recording never "
            "stops partway\n"
            "quillant: warning: only 949 MB is free — Quillant needs at least 2 GB free so a recording never "
            "stops partway\n");
  freeBytes = [] { return 2'000'000'000; };
  script.untilLimit = nullptr;
  EXPECT_EQ(record().errors, "");
}

TEST_F(HeadlessCLITest, TellsEveryOtherEnd) {
  const auto expect = [](const QuillantRun::Result& result, int exitCode, const char* output,
                         const char* errors) {
    EXPECT_EQ(result.exitCode, exitCode) << errors;
    EXPECT_EQ(result.output, output);
    EXPECT_EQ(result.errors, errors);
  };
  script.untilLimit = [&] { return coordinator->discard(); };
  expect(record(), 0, "", "quillant: recording discarded\n");
  script.untilLimit = nullptr;
  script.finalized.stopError = scriptedError("lost");
  script.finalized.artifacts.warnings = {"late"};
  expect(record(), 70, "quillant: partial salvaged at /tmp/x.mp4\n",
         "quillant: recording failed mid-capture: stop failed: lost\nquillant: warning: late\n");
  script.makeError = scriptedError("the screen is gone — sorry");
  expect(record(), 77, "", "quillant: could not start recording: the screen is gone — sorry\n");
}

TEST_F(HeadlessCLITest, AsksForWhatTheWordsSay) {
  record({"--mic-device", "ABC", "--display", "7", "--no-telemetry", "--pause-after", "1"});
  EXPECT_EQ(script.request.duration, 5);
  const auto& request = script.request.options;
  EXPECT_TRUE(request.mic);
  EXPECT_EQ(request.micDeviceID, "ABC");
  EXPECT_EQ(request.displayID, 7U);
  EXPECT_FALSE(request.telemetry);
  EXPECT_FALSE(request.frameRate || request.area || request.windowID);
  EXPECT_EQ(record({"--output", "/tmp/x.mov"}).errors,
            "quillant: warning: recover finds an interrupted recording only if its name ends in .mp4\n");
}

}  // namespace

}  // namespace quillant
