#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "MediaKit/Composing/SoundMix.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/Media/WaveFile.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {

namespace {

constexpr SoundFormat format{48'000, 2};

/// The first channel of the whole mix, read in uneven pieces.
std::vector<float> heard(std::vector<MediaCompositionTrack> tracks, double duration) {
  SoundMix mix(std::move(tracks), duration, format);
  std::vector<float> result;
  std::vector<float> piece(2 * 1777);
  while (const auto frames = mix.read(piece))
    for (std::size_t i = 0; i < frames; ++i) result.push_back(piece[2 * i]);
  EXPECT_EQ(static_cast<std::int64_t>(result.size()), mix.frameCount());
  return result;
}

}  // namespace

TEST(SoundMix, PlaysRangesAtTheirPlacesAndVolumes) {
  const TemporaryFolder folder;
  const auto random = TestRecording::sound(0, 48'000 * 4, 1).samples;
  WaveFile::write(folder / "a.wav", 48'000, 1, 48'000 * 4, [&](int i) { return random[std::size_t(i)] / 2; });
  WaveFile::write(folder / "flat.wav", 44'100, 2, 44'100 * 4, [](int) { return 0.25; });
  const auto mixed = heard(
      {{.file = folder / "a.wav",
        .ranges = {{1, 1.5, 0, 0.5}, {1.5, 2, 0.5, 1}, {0.25, 1, 1, 1.75}, {3, 5, 2, 4}},
        .volume = {{0, 1}, {1, 1}, {1, 0}, {2, 0}, {2, 1}}},
       {.file = folder / "flat.wav", .ranges = {{0, 4, 0, 4}}, .volume = {{0.5, 0}, {1.5, 1}, {1.5, 0.5}}}},
      4);
  ASSERT_EQ(mixed.size(), 192'000u);
  const auto expected = [&](double time) {
    double value = 0;
    if (time < 1 || (time >= 2 && time < 3))
      value += random[std::size_t(std::lround((time + 1) * 48'000))] / 2;
    if (time >= 0.5) value += 0.25 * (time < 1.5 ? time - 0.5 : 0.5);
    return value;
  };
  for (int i = 0; i < 192'000; i += 37) ASSERT_NEAR(mixed[std::size_t(i)], expected(i / 48'000.0), 2e-4) << i;

  // What is heard from the middle on is what was heard there before.
  SoundMix mix({{.file = folder / "a.wav", .ranges = {{1, 2, 0, 1}}}}, 1, format);
  mix.seek(24'000);
  std::vector<float> piece(2 * 1000);
  ASSERT_EQ(mix.read(piece), 1000u);
  EXPECT_NEAR(piece[0], random[72'000] / 2, 1e-4);
}

TEST(SoundMix, KeepsPitchAndTimeAtEverySpeed) {
  const TemporaryFolder folder;
  // A tone of 440 Hz, a click every half second and a louder one at each fourth.
  constexpr int seconds = 10;
  WaveFile::write(folder / "a.wav", 48'000, 1, 48'000 * seconds, [](int i) {
    const double tone = 0.05 * std::sin(i * 2 * 3.14159265358979 * 440 / 48'000);
    return i % 24'000 < 48 ? 0.9 : tone;
  });
  for (const double rate : {1.25, 1.5, 1.75, 2.0, 0.5}) {
    SCOPED_TRACE(rate);
    const double length = seconds / rate;
    const auto sound = heard({{.file = folder / "a.wav", .ranges = {{0, seconds, 0, length}}}}, length);
    const auto frames = static_cast<int>(sound.size());
    double worst = 0;
    for (int click = 1; click < 2 * seconds; ++click) {
      const int place = static_cast<int>(click * 24'000 / rate);
      const int from = std::max(0, place - 2400), to = std::min(frames, place + 2400);
      const auto loudest = std::max_element(sound.begin() + from, sound.begin() + to,
                                            [](float a, float b) { return std::abs(a) < std::abs(b); });
      worst = std::max(worst, std::abs(static_cast<double>(loudest - sound.begin() - place)) / 48);
    }
    EXPECT_LE(worst, rate < 1 ? 8 : 5) << "milliseconds that a click is off";
    // Between clicks, the tone crosses zero as often in a second as it did.
    int crossings = 0, counted = 0;
    for (int i = 1; i < frames; ++i) {
      const double source = std::fmod(i * rate, 24'000);
      if (source < 6000 || source > 18'000) continue;
      ++counted;
      crossings += (sound[std::size_t(i)] >= 0) != (sound[std::size_t(i - 1)] >= 0);
    }
    EXPECT_NEAR(crossings * 48'000.0 / counted / 2, 440, 8);
  }
}

}  // namespace quillant
