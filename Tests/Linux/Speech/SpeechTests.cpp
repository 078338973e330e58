#include <gtest/gtest.h>

#include "Editor/Captions/TranscriptionError.h"
#include "Tests/Linux/Speech/SpeechTest.h"
#include "tools/SpeechTrial/SpeechScore.h"
#include "tools/SpeechTrial/SpokenTrack.h"

namespace quillant {

TEST_F(SpeechTest, HearsSentencesAtTheirTimes) {
  // After silence, soon after each other, after a long pause, and at the end of a long silence.
  const std::tuple<SoundFormat, std::vector<std::pair<double, const char*>>, double> cases[] = {
      {{44'100, 2},
       {{4, "the quick brown fox jumps over the lazy dog"},
        {8, "please open the window and close the door"},
        {24, "we will meet again next monday in the afternoon"}},
       30},
      {{48'000, 1},
       {{300.4, "this is the first time that we have seen the new version"},
        {304, "she wrote a long letter to her brother last night"}},
       307.2}};
  for (const auto& [format, sentences, duration] : cases) {
    SpokenTrack track;
    for (const auto& [at, sentence] : sentences) track.say(at, sentence);
    track.write(folder / "talk.caf", format, duration);
    double last = 0;
    const auto speech = transcriber().transcribe(folder / "talk.caf", 0, "Talk", [&](double done) {
      EXPECT_GE(done, last);
      last = done;
      for (const auto& file : std::filesystem::directory_iterator(temporary))
        EXPECT_EQ(file.status().permissions() & std::filesystem::perms(0077), std::filesystem::perms::none);
    });
    ASSERT_TRUE(speech);
    EXPECT_EQ(speech->language, "en-US");
    EXPECT_GT(last, 0.8);
    const auto score = SpeechScore::of(track.words(), {speech->words.begin(), speech->words.end()});
    EXPECT_LE(score.errorRate(), 0.05) << testing::PrintToString(score.mistakes);
    EXPECT_LE(score.largestDeviation, 0.12) << score.mostDeviating;
  }
}

TEST_F(SpeechTest, TellsSilenceFromWhatItCannotHear) {
  write("silence.caf", {16'000, 1}, std::vector<float>(32'000));
  const auto kindOf = [&](const std::filesystem::path& file,
                          int track) -> std::optional<TranscriptionError::Kind> {
    try {
      EXPECT_EQ(transcriber().transcribe(file, track, "Talk", [](double) {})->words.size(), 0u);
    } catch (const TranscriptionError& error) {
      return error.kind();
    }
    return std::nullopt;
  };
  using Kind = TranscriptionError::Kind;
  EXPECT_EQ(kindOf(folder / "silence.caf", 0), std::nullopt);
  EXPECT_EQ(kindOf(folder / "silence.caf", 1), Kind::unreadable);
  EXPECT_EQ(kindOf(folder / "nowhere.caf", 0), Kind::unreadable);
  ::setenv("LC_ALL", "sv_SE.UTF-8", 1);
  EXPECT_EQ(kindOf(folder / "silence.caf", 0), Kind::languageUnsupported);

  std::stop_source stop;
  stop.request_stop();
  EXPECT_FALSE(transcriber().transcribe(
      folder / "silence.caf", 0, "Talk", [](double) {}, stop.get_token()));
  EXPECT_TRUE(std::filesystem::is_empty(temporary)) << "nothing is left behind";
}

}  // namespace quillant
