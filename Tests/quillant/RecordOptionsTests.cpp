#include <gmock/gmock.h>

#include "quillant/Commands/RecordOptions.h"

namespace quillant {

namespace {

using Words = std::vector<std::string>;

TEST(RecordOptionsTest, ReadsEveryFlag) {
  const auto options =
      RecordOptions::parse({"--duration", "1", "--output", "/tmp/x.mp4", "--mic-device", "ABC",
                            "--system-audio", "--facecam", "--display", "+7", "--no-telemetry",
                            "--pause-after", ".5", "--pause-duration", "1e1", "--duration", "+2.25"});
  EXPECT_EQ(options.duration, 2.25);  // the later one counts
  EXPECT_EQ(options.output, "/tmp/x.mp4");
  EXPECT_TRUE(options.mic);
  EXPECT_EQ(options.micDeviceID, "ABC");
  EXPECT_TRUE(options.systemAudio);
  EXPECT_TRUE(options.facecam);
  EXPECT_FALSE(options.telemetry);
  EXPECT_EQ(options.display, 7U);
  EXPECT_EQ(options.pauseAfter, 0.5);
  EXPECT_EQ(options.pauseDuration, 10);
  EXPECT_EQ(options.description(),
            "duration=2.25s output=/tmp/x.mp4 mic=ABC system-audio facecam no-telemetry display=7");

  const auto fewest = RecordOptions::parse({"--output", "x.mp4", "--duration", "1e300"});
  EXPECT_EQ(fewest.output, std::filesystem::current_path() / "x.mp4");
  EXPECT_EQ(fewest.duration, 1e300);
  EXPECT_FALSE(fewest.mic || fewest.systemAudio || fewest.facecam);
  EXPECT_TRUE(fewest.telemetry);
}

TEST(RecordOptionsTest, SaysWhatIsWrong) {
  const Words rest{"--duration", "5", "--output", "x.mp4"};
  const auto problem = [](const Words& words) -> std::string {
    try {
      RecordOptions::parse(words);
      return "none";
    } catch (const RecordOptions::ParseError& error) {
      return error.description();
    }
  };
  EXPECT_EQ(problem({"--mic"}), "missing required option --duration");
  EXPECT_EQ(problem({"--duration", "5", "--output", "x.recording"}),
            "invalid value 'x.recording' for --output");
  for (const char* word : {"clip.mp4", "--Mic", "-h", "--help", ""})
    EXPECT_EQ(problem({word}), std::string("unknown option ") + word);
  for (const std::string flag :
       {"--duration", "--output", "--mic-device", "--pause-after", "--pause-duration", "--display"}) {
    auto words = rest;
    words.push_back(flag);
    EXPECT_EQ(problem(words), "missing required option " + flag + " <value>");
  }
  const auto invalid = [&](const std::string& flag, const Words& values) {
    for (const auto& value : values) {
      auto words = rest;
      words.insert(words.end(), {flag, value});
      EXPECT_EQ(problem(words), "invalid value '" + value + "' for " + flag);
    }
  };
  for (const char* flag : {"--duration", "--pause-after", "--pause-duration"})
    invalid(flag, {"0",    "-1",    "-0", "",    " 1",   "1 ",       "1s",  "+",   "++1",   "+-1",   "1,5",
                   "0x10", "0x1p4", "1e", "inf", "+inf", "infinity", "nan", "NAN", "1e400", "1e-400"});
  invalid("--display",
          {"", "+", "-", "-0", "-1", "++7", "4294967296", "99999999999999999999", "7a", " 7", "0x7", "1.0"});
}

}  // namespace

}  // namespace quillant
