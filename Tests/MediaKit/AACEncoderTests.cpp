#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MediaKit/Writing/AssetWriter.h"
#include "Tests/Support/Media/DecodedMedia.h"
#include "Tests/Support/Media/TestRecording.h"
#include "Tests/Support/TemporaryFolder.h"

namespace quillant {
namespace {

DecodedMedia::Sound recorded(const std::filesystem::path& path, int channels,
                             const std::vector<AudioBuffer>& buffers) {
  AssetWriter writer(path, MediaContainer::mp4, {3, 2});
  const auto input = writer.addAudio({channels, 96'000 * channels});
  EXPECT_TRUE(writer.startWriting());
  writer.startSession({1000, 1});
  for (auto buffer : buffers) {
    buffer.time = buffer.time + MediaTime{1000, 1};
    while (!writer.append(input, buffer))
      ;
  }
  runBlocking(writer.finishWriting());
  const auto media = DecodedMedia::decode(path);
  EXPECT_THAT(media.errors, testing::IsEmpty());
  EXPECT_EQ(media.sounds.size(), 1U);
  return media.sounds.at(0);
}

/// By how many samples the sound around `second` comes late, by the best match with what was played then.
int delayAround(const DecodedMedia::Sound& sound, double second) {
  constexpr int length = 2400;
  constexpr int reach = 1000;
  const auto first = static_cast<std::int64_t>(second * 48'000);
  const auto original = TestRecording::sound(first, length, 1).samples;
  int best = reach + 1;
  double highest = 0;
  for (int shift = -reach; shift <= reach; ++shift) {
    double sum = 0;
    for (int i = 0; i < length; ++i)
      sum += double(original[std::size_t(i)]) * double(sound.samples.at(std::size_t(first + shift + i)));
    if (sum > highest) {
      highest = sum;
      best = shift;
    }
  }
  return best;
}

/// Two seconds in pieces of 10 ms, as a device delivers them.
std::vector<AudioBuffer> delivered(int channels = 1, int sampleRate = 48'000) {
  std::vector<AudioBuffer> buffers;
  for (int i = 0; i < 200; ++i)
    buffers.push_back(
        TestRecording::sound(std::int64_t{i} * sampleRate / 100, sampleRate / 100, channels, sampleRate));
  return buffers;
}

TEST(AACEncoder, PutsEverySampleAtItsTime) {
  const TemporaryFolder folder;
  struct Case {
    const char* name;
    std::vector<AudioBuffer> buffers;
    std::vector<double> seconds;  ///< Where to compare.
    int tolerance = 0;            ///< Samples.
    double silentFrom = 0;
    double silentTo = 0;
  };
  std::vector<Case> cases{
      {"as it comes", delivered(), {0.05, 0.5, 1.7}},
      {"two channels to one", delivered(2), {0.05, 1.7}},
      {"another rate", delivered(1, 44'100), {0.05, 1.7}, 1},
      {"starting late", delivered(), {0.45, 1.7}, 0, 0.05, 0.35},
      {"starting before the session", delivered(), {0.05, 1.5}},
      {"with a hole", delivered(), {0.3, 1.4}, 2, 0.55, 0.95},
      {"overlapping", delivered(), {0.3, 1.4}, 2},
      {"with jitter", delivered(), {0.5, 1.7}, 2},
      {"in another form from the middle on", delivered(), {0.5, 1.7}, 1},
  };
  auto& late = cases[3].buffers;
  late.erase(late.begin(), late.begin() + 40);
  auto& early = cases[4].buffers;
  early.insert(early.begin(), {TestRecording::sound(-4800, 4800, 1)});
  auto& holed = cases[5].buffers;
  holed.erase(holed.begin() + 50, holed.begin() + 100);
  auto& overlapping = cases[6].buffers;
  overlapping.insert(overlapping.begin() + 100, overlapping.begin() + 70, overlapping.begin() + 100);
  for (std::size_t i = 1; i < cases[7].buffers.size(); ++i)
    cases[7].buffers[i].time =
        cases[7].buffers[i].time + MediaTime{static_cast<std::int64_t>(i * 7 % 9) - 4, 1000};
  const auto other = delivered(2, 44'100);
  std::copy(other.begin() + 100, other.end(), cases[8].buffers.begin() + 100);

  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    const auto sound = recorded(folder / (std::string(each.name) + ".mp4"), 1, each.buffers);
    EXPECT_EQ(sound.time, MediaTime::zero());
    EXPECT_NEAR(double(sound.samples.size()), 96'000, 1024);
    for (const double second : each.seconds)
      EXPECT_NEAR(delayAround(sound, second), 0, each.tolerance) << "at " << second;
    const auto silentEnd = static_cast<std::size_t>(each.silentTo * 48'000);
    for (auto i = static_cast<std::size_t>(each.silentFrom * 48'000); i < silentEnd; ++i)
      ASSERT_LT(std::abs(sound.samples[i]), 0.02F) << i;
  }
}

/// A device whose clock runs 0.05 % fast: 20 s of its time stamps are 10 ms more than its samples tell.
TEST(AACEncoder, FollowsADeviceWhoseClockRunsAway) {
  const TemporaryFolder folder;
  std::vector<AudioBuffer> buffers;
  for (int i = 0; i < 2000; ++i) {
    buffers.push_back(TestRecording::sound(std::int64_t{i} * 480, 480, 1));
    buffers.back().time = {std::int64_t{i} * 10'005, 1'000'000};
  }
  const auto sound = recorded(folder / "a.mp4", 1, buffers);
  // 480 samples off if nothing were done about it.
  EXPECT_NEAR(delayAround(sound, 19), 19 * 24, 300);
}

}  // namespace
}  // namespace quillant
