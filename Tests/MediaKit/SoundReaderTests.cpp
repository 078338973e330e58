#include <cmath>
#include <fstream>
#include <gtest/gtest.h>

#include "MediaKit/MediaError.h"
#include "MediaKit/Reading/SoundReader.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/Media/WaveFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

/// `seconds` of `TestRecording::sound`, at half its level.
void writeWave(const std::filesystem::path& path, int sampleRate, int channels, int seconds) {
  const auto sound = TestRecording::sound(0, sampleRate * seconds, 1, sampleRate).samples;
  WaveFile::write(path, sampleRate, channels, sampleRate * seconds,
                  [&](int frame) { return sound[static_cast<std::size_t>(frame)] / 2; });
}

std::vector<float> read(SoundReader& reader, std::int64_t first, int frames) {
  std::vector<float> samples(static_cast<std::size_t>(frames * reader.format().channels));
  reader.seek(first);
  samples.resize(reader.read(samples) * static_cast<std::size_t>(reader.format().channels));
  return samples;
}

double correlation(std::span<const float> left, std::span<const float> right) {
  double product = 0, first = 0, second = 0;
  for (std::size_t i = 0; i < left.size(); ++i) {
    product += double(left[i]) * right[i];
    first += double(left[i]) * left[i];
    second += double(right[i]) * right[i];
  }
  return product / std::sqrt(first * second + 1e-12);
}

/// How many frames late what was read as frame `first` and on is.
int lateness(const std::vector<float>& samples, std::int64_t first, SoundFormat format) {
  const int count = static_cast<int>(samples.size()) / format.channels;
  int best = 0;
  double highest = -1;
  for (int late = -200; late <= 200; ++late) {
    const auto expected =
        TestRecording::sound(first - late, count, format.channels, format.sampleRate).samples;
    if (const double like = correlation(samples, expected); like > highest) {
      highest = like;
      best = late;
    }
  }
  EXPECT_GT(highest, 0.9);
  return best;
}

}  // namespace

TEST(SoundReader, IsExactToTheSampleWhereverItBegins) {
  const TemporaryFolder folder;
  const auto wave = folder.path() / "sound.wav";
  struct Case {
    const char* name;
    int sampleRate;
    int channels;
    std::vector<std::string> encode;
    double tolerance;  ///< Between one way of reading a moment and another.
  };
  const Case cases[] = {{"a.wav", 44'100, 1, {"-c:a", "copy"}, 1e-6},
                        {"a.flac", 48'000, 2, {"-c:a", "flac"}, 1e-6},
                        {"a.m4a", 48'000, 2, {"-c:a", "aac", "-b:a", "192k", "-aac_pns", "0"}, 1e-3},
                        {"b.m4a", 44'100, 1, {"-c:a", "aac", "-b:a", "128k", "-aac_pns", "0"}, 1e-3},
                        {"a.ogg", 48'000, 2, {"-c:a", "libopus", "-b:a", "160k"}, 0.02},
                        {"a.mp3", 44'100, 2, {"-c:a", "libmp3lame", "-b:a", "192k"}, 0.02}};
  for (const auto& [name, sampleRate, channels, encode, tolerance] : cases) {
    SCOPED_TRACE(name);
    writeWave(wave, sampleRate, channels, 4);
    const auto path = folder.path() / name;
    std::vector<std::string> words{"ffmpeg", "-v", "error", "-y", "-i", wave.string()};
    words.insert(words.end(), encode.begin(), encode.end());
    words.push_back(path.string());
    ASSERT_EQ(ChildProcess(words).wait(), 0);

    for (const SoundFormat format :
         {SoundFormat{48'000, 2}, SoundFormat{44'100, 2}, SoundFormat{16'000, 1}}) {
      SCOPED_TRACE(format.sampleRate);
      SoundReader reader(path, 0, format);
      const auto whole = read(reader, 0, 5 * format.sampleRate);
      EXPECT_NEAR(static_cast<double>(whole.size()) / format.channels, 4.0 * format.sampleRate,
                  0.03 * format.sampleRate);
      for (const int first : {format.sampleRate * 3 + 7, 12'345, 1, format.sampleRate * 2 - 1}) {
        const auto piece = read(reader, first, 3000);
        EXPECT_LE(std::abs(lateness(piece, first, format)), 1) << first;
        double worst = 0;
        for (std::size_t i = 0; i < piece.size(); ++i)
          worst = std::max(worst, std::abs(double(piece[i]) -
                                           whole[static_cast<std::size_t>(first * format.channels) + i]));
        EXPECT_LE(worst, tolerance) << first;
      }
    }
  }
}

TEST(SoundReader, ReadsRecordingsAndFillsWithSilence) {
  const TemporaryFolder folder;
  const auto path = folder.path() / "talk.mp4";
  TestRecording{.frames = 60, .audioChannels = {1, 2}}.write(path);
  for (const int track : {0, 1}) {
    SoundReader reader(path, track, {48'000, 2});
    const auto before = read(reader, -100, 4000);
    EXPECT_TRUE(std::all_of(before.begin(), before.begin() + 200, [](float sample) { return sample == 0; }));
    const auto piece = read(reader, 30'000, 4000);
    EXPECT_EQ(lateness(piece, 30'000, {48'000, 2}), 0);
    // Mono keeps its level in both channels.
    double power = 0;
    for (const float sample : piece) power += double(sample) * sample;
    double expected = 0;
    for (const float sample : TestRecording::sound(30'000, 4000, 2).samples)
      expected += double(sample) * sample;
    EXPECT_NEAR(power / expected, 1, 0.05);
  }
}

TEST(SoundReader, RefusesWhatItCannotRead) {
  const TemporaryFolder folder;
  const auto path = folder.path() / "sound.wav";
  writeWave(path, 44'100, 1, 2);
  EXPECT_THROW(SoundReader(path, 1, {}), MediaError) << "there is one track";
  std::ofstream(folder.path() / "text.txt") << "no sound";
  EXPECT_THROW(SoundReader(folder.path() / "text.txt", 0, {}), MediaError);

  const auto empty = folder.path() / "empty.mp4";
  ASSERT_EQ(ChildProcess({"ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc=d=1:s=64x64", "-f", "lavfi",
                          "-i", "anullsrc=d=1,atrim=end=0", "-c:v", "libx264", "-c:a", "aac", "-movflags",
                          "frag_keyframe+empty_moov", empty.string()})
                .wait(),
            0);
  SoundReader silent(empty, 0, {});
  EXPECT_TRUE(read(silent, 0, 100).empty()) << "of a recording that was killed before its first sound";

  SoundReader reader(path, 0, {44'100, 1});
  std::filesystem::resize_file(path, 80'000);
  std::vector<float> samples(44'100 * 3);
  EXPECT_THROW(reader.read(samples), MediaError) << "a file that became shorter is no end";
}

}  // namespace quillant
