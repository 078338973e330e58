#include <gmock/gmock.h>

#include "Tests/quillant/RecordingFixture.h"

namespace quillant {

namespace {

using testing::EndsWith;

class SelfCheckTest : public RecordingFixture {
 protected:
  QuillantRun::Result check(const std::vector<std::string>& words) const {
    return QuillantRun(words, display->name()).wait();
  }
  /// A main display, and one left of it, at scale 2.
  void arrangeDisplays() const {
    for (const char* command :
         {"xrandr --setmonitor LEFT 240/64x480/127+0+0 none",
          "xrandr --setmonitor '*MAIN' 400/106x480/127+240+0 screen", "echo Xft.dpi: 192 | xrdb -merge"})
      ASSERT_EQ(display->run({"sh", "-c", command}), 0) << command;
  }
};

TEST_F(SelfCheckTest, TellsTheRecordedDisplayAndAreaByWhatTheyShow) {
  const auto alone = check({"verify-display"});
  EXPECT_EQ(alone.exitCode, 77);
  EXPECT_EQ(alone.errors, "quillant: verify-display needs two or more displays\n");
  arrangeDisplays();
  for (const std::string word : {"verify-display", "verify-area"}) {
    const auto blank = check({word});  // nothing can be told apart
    EXPECT_EQ(blank.exitCode, 70);
    EXPECT_THAT(blank.output, EndsWith("quillant: " + word + ": FAIL\n"));
  }
  move({"still", "--size", "240x480"});  // the left one
  ASSERT_EQ(display->run({"xdotool", "search", "--sync", "--onlyvisible", "--name", "Animation"}), 0);
  for (const std::string word : {"verify-display", "verify-area"}) {
    const auto result = check({word});
    EXPECT_EQ(result.exitCode, 0) << result.output;
    EXPECT_THAT(result.output, EndsWith("quillant: " + word + ": PASS\n"));
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(
        check({word, "--display", "7"}).errors,
        testing::StartsWith("quillant: could not start recording: display 7 not found; available: ["));
  }
}

TEST_F(SelfCheckTest, FindsNoPreviewInTheCamerasFile) {
  useCamera("lavfi:testsrc2=size=320x240:rate=30");
  const auto result = check({"facecam-contention"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output,
              testing::MatchesRegex("(quillant: facecam-contention: [a-z ]+: offset [0-9]+ ms\n){4}"
                                    "quillant: facecam-contention: PASS\n"));
  useCamera("none:");
  const auto without = check({"facecam-contention"});
  EXPECT_EQ(without.exitCode, 77);
  EXPECT_EQ(without.errors, "quillant: could not start recording: no camera device available\n");
}

}  // namespace

}  // namespace quillant
