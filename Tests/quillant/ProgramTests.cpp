#include <fstream>
#include <gmock/gmock.h>

#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Editor/Project/ProjectStore.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/FrameGrabber.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/quillant/QuillantRun.h"
#include "quillant/Commands/HeadlessCLI.h"

namespace quillant {

namespace {

QuillantRun::Result quillantWith(const std::vector<std::string>& words) {
  return QuillantRun(words).wait();
}

/// What the program says as a user sees it, the streams kept apart.
TEST(ProgramTest, AnswersWordsItCannotActOn) {
  const std::string usage =
      "usage: quillant record --duration <seconds> --output <path.mp4> [--mic] [--mic-device <uniqueID>] "
      "[--system-audio] [--facecam] [--no-telemetry] [--display <displayID>] [--pause-after <s> "
      "--pause-duration <s>]\n       quillant recover --dir <directory>\n";
  const std::string requiresDir = "quillant: recover requires --dir <directory>\n";
  struct Case {
    std::vector<std::string> words;
    int exitCode;
    std::string errors;
  };
  const std::string noDesktop =
      "quillant: there is no display server: DISPLAY is not set (see quillant --help for what works without "
      "a "
      "desktop)\n";
  std::vector<Case> cases{
      {{"record"}, 64, "quillant: missing required option --duration\n" + usage},
      {{"record", "--duration"}, 64, "quillant: missing required option --duration <value>\n" + usage},
      {{"record", "--duration", "0", "--output", "x.mp4"},
       64,
       "quillant: invalid value '0' for --duration\n" + usage},
      {{"record", "--duration", "5"}, 64, "quillant: missing required option --output\n" + usage},
      {{"record", "record"}, 64, "quillant: unknown option record\n" + usage},
      {{"recover"}, 64, requiresDir + usage},
      {{"recover", "--dir"}, 64, requiresDir + usage},
      {{"recover", "x", "y"}, 64, requiresDir + usage},
      {{"verify-area", "--area"},
       64,
       "quillant: unknown option --area\nusage: quillant verify-area [--display <displayID>]\n"},
      {{"verify-display", "--display", "x"},
       64,
       "quillant: invalid value 'x' for --display\nusage: quillant verify-display [--display <displayID>]\n"},
      {{"facecam-contention", "x"}, 64, "quillant: unknown option x\nusage: quillant facecam-contention\n"},
      {{"render-popover", "--verify"}, 64, "quillant: unknown render-popover option --verify\n"},
      {{}, 70, noDesktop},
      {{"foo"}, 70, noDesktop},
  };
  for (const std::string word : {"render-onboarding", "render-settings", "render-library", "render-editor",
                                 "open-editor", "area-overlay", "facecam-bubble-proof"})
    cases.push_back({{word, "--verify"}, 70, "quillant: " + word + " is not available in this build\n"});
  for (const auto& [words, exitCode, errors] : cases) {
    const auto result = quillantWith(words);
    EXPECT_EQ(result.exitCode, exitCode) << testing::PrintToString(words);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, errors);
  }
}

TEST(ProgramTest, HelpsOnStandardOutput) {
  for (const char* word : {"--help", "-h"}) {
    const auto help = quillantWith({word});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_THAT(help.output, testing::StartsWith(HeadlessCLI::usage));
    EXPECT_EQ(help.errors, "");
  }
  const auto version = quillantWith({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_THAT(version.output, testing::MatchesRegex("quillant [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(ProgramTest, CannotRecordWithoutADisplayAndLeavesNothing) {
  const TemporaryFolder folder;
  const auto video = (folder / "x.mp4").string();
  auto result = quillantWith({"record", "--duration", "5", "--output", video});
  EXPECT_EQ(result.exitCode, 77);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(
      result.errors,
      testing::StartsWith("quillant: could not start recording: cannot enumerate displays — Screen Recording "
                          "permission is likely missing for this process's responsible app ("
                          "Settings → Privacy & Security → Screen Recording): "));
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));

  std::ofstream(video) << "precious";
  result = quillantWith({"record", "--duration", "5", "--output", video});
  EXPECT_EQ(result.exitCode, 77);
  EXPECT_EQ(result.errors, "quillant: could not start recording: output file already exists: " + video +
                               " — refusing to overwrite (never lose a recording)\n");
}

TEST(ProgramTest, RefusesPixelsThatItCannotRecordAndLeavesNothing) {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  const VirtualDisplay display(640, 480, {"-screen", "0", "640x480x16"});
  const TemporaryFolder folder;
  const auto result =
      QuillantRun({"record", "--duration", "5", "--output", (folder / "x.mp4").string()}, display.name())
          .wait();
  EXPECT_EQ(result.exitCode, 77);
  EXPECT_EQ(
      result.errors,
      "quillant: could not start recording: the display server's pixels are not of 8 bits a colour (the "
      "screen's depth must be 24)\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(ProgramTest, WritesAFixtureThatIsImportedAsARecordingIs) {
  const TemporaryFolder folder;
  const auto video = folder / "recording-e1-fixture.mp4";
  std::ofstream(video) << "an earlier one";
  const ChildProcess::Environment environment{{"XDG_DATA_HOME", folder.path().string()},
                                              {"QUILLANT_PROFILE", "t"}};
  const auto written =
      QuillantRun({"author-e1-fixture", "--dir", folder.path().string()}, environment).wait();
  EXPECT_EQ(written.errors, "");
  EXPECT_EQ(written.output, "quillant: wrote " + video.string() + "\nquillant: wrote " +
                                (folder / "recording-e1-fixture.facecam.mov").string() +
                                "\nquillant: wrote " +
                                (folder / "recording-e1-fixture.cursor.json").string() + "\n");
  EXPECT_NEAR(AssetProbe::probe(video).duration.seconds(), 8, 0.05);
  const auto clicks =
      CursorTelemetryCodec::decode(AtomicFile::read(folder / "recording-e1-fixture.cursor.json")).clicks;
  ASSERT_EQ(clicks.size(), 3U);
  const auto blueAt = [&](MediaTime time) {
    const auto frame = FrameGrabber::grab(video, time, {}).picture;
    const auto& plane = frame->planes[0];
    return plane.data[(clicks[0].y - 25) * plane.stride + 4 * clicks[0].x];
  };
  EXPECT_GT(blueAt({clicks[0].timestamp - 40, 1000}), blueAt({clicks[0].timestamp + 10, 1000}) + 80)
      << "the button lights up";

  const auto imported = QuillantRun({"import", video.string()}, environment).wait();
  ASSERT_EQ(imported.exitCode, 0) << imported.errors;
  const ProjectStore store{folder / "Quillant" / "projects-t"};
  const auto media = store.recording(imported.output.substr(0, imported.output.size() - 1));
  EXPECT_TRUE(media.cursorTelemetryPath && media.facecamVideoPath);
  EXPECT_EQ(media.facecamOffsetMs, 250) << "as the files tell";
}

TEST(ProgramTest, ListsOrphansAndTouchesNothing) {
  const TemporaryFolder folder;
  const auto given = std::filesystem::relative(folder.path());
  const auto found = std::filesystem::current_path() / given;
  const auto recover = [&] { return quillantWith({"recover", "--dir", given.string(), "ignored"}); };
  EXPECT_EQ(recover().output, "quillant: no orphaned recordings found\n");
  std::ofstream(folder / "a.recording") << R"({"startedAt": 0, "pid": 1})";
  std::ofstream(folder / "b.recording");
  std::ofstream(folder / "b.mp4") << "torn";
  for (int sweep = 0; sweep < 2; ++sweep) {
    const auto result = recover();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(
        result.output,
        "quillant: unrecoverable " + (found / "a.mp4").string() +
            " started 2001-01-01 00:00:00 +0000 — recording file is missing\nquillant: unrecoverable " +
            (found / "b.mp4").string() +
            " — unreadable partial — the recording died before the first fragment flush (~2s), so nothing "
            "playable reached disk\n");
  }
}

}  // namespace

}  // namespace quillant
