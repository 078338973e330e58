#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

#include "Editor/Captions/Transcriber.h"
#include "Editor/Captions/TranscriptionError.h"
#include "Linux/Speech/PocketSphinxRecognizer.h"
#include "MediaKit/Exporting/SoundFileWriter.h"
#include "MediaKit/Reading/SoundReader.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

struct Spoken {
  std::vector<float> samples;  ///< At `rate`, mono.
  int rate = 0;
};

/// A sentence as a voice says it.
Spoken say(const TemporaryFolder& folder, const std::string& sentence) {
  const auto path = folder / "sentence.wav";
  EXPECT_EQ(ChildProcess({"flite", "-voice", "slt", "-t", sentence, "-o", path.string()}).wait(), 0);
  Spoken spoken{.rate = 48'000};
  SoundReader reader(path, 0, {spoken.rate, 1});
  std::vector<float> buffer(48'000);
  while (const auto frames = reader.read(buffer))
    spoken.samples.insert(spoken.samples.end(), buffer.begin(),
                          buffer.begin() + static_cast<std::ptrdiff_t>(frames));
  return spoken;
}

Transcriber transcriber() {
  return Transcriber(
      {.modern = nullptr, .legacy = std::make_shared<PocketSphinxRecognizer>(QUILLANT_SPEECH_MODELS)});
}

class SpeechTest : public testing::Test {
 protected:
  SpeechTest() {
    std::filesystem::create_directory(temporary);
    ::setenv("LC_ALL", "en_US.UTF-8", 1);
    ::setenv("TMPDIR", temporary.c_str(), 1);
  }
  ~SpeechTest() override {
    ::unsetenv("LC_ALL");
    ::unsetenv("TMPDIR");
  }
  TemporaryFolder folder;
  std::filesystem::path temporary = folder / "temporary";
};

}  // namespace

TEST_F(SpeechTest, HearsSentencesAtTheirTimes) {
  const std::string first = "the quick brown fox jumps over the lazy dog";
  const std::string second = "please open the window and close the door";
  const auto one = say(folder, first);
  const auto two = say(folder, second);
  // A sentence after silence, a long pause, and another one, in both channels.
  constexpr double firstAt = 4, secondAt = 20;
  std::vector<float> mono(48'000 * 26);
  std::ranges::copy(one.samples, mono.begin() + static_cast<std::ptrdiff_t>(firstAt * 48'000));
  std::ranges::copy(two.samples, mono.begin() + static_cast<std::ptrdiff_t>(secondAt * 48'000));
  std::vector<float> stereo;
  for (const float sample : mono) stereo.insert(stereo.end(), 2, sample);
  SoundFileWriter writer(folder / "talk.caf", {48'000, 2});
  writer.write(stereo);
  writer.finish();

  double last = 0;
  const auto speech = transcriber().transcribe(folder / "talk.caf", 0, "Talk", [&](double done) {
    EXPECT_GE(done, last);
    last = done;
  });
  ASSERT_TRUE(speech);
  EXPECT_EQ(speech->language, "en-US");
  EXPECT_GT(last, 0.8);
  std::string heard;
  for (const auto& word : speech->words) heard += (heard.empty() ? "" : " ") + word.text;
  EXPECT_EQ(heard, first + " " + second);
  ASSERT_EQ(speech->words.size(), 17u);
  // The voice begins each sentence with a fifth of a second of silence.
  EXPECT_NEAR(speech->words[0].start, firstAt + 0.2, 0.12);
  EXPECT_NEAR(speech->words[9].start, secondAt + 0.2, 0.12);
  for (std::size_t i = 1; i < speech->words.size(); ++i)
    EXPECT_LE(speech->words[i - 1].start, speech->words[i].start);
}

TEST_F(SpeechTest, TellsSilenceFromWhatItCannotHear) {
  {
    SoundFileWriter writer(folder / "silence.caf", {16'000, 1});
    writer.write(std::vector<float>(32'000));
    writer.finish();
  }
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
