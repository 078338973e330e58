#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>

#include "Editor/Timeline/TimelineMusic.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineMusic;

TimelineAudioClip clip(double start, double length, const char* source = "a", double sourceStart = 0) {
  return {UUID::random(), source, start, sourceStart, sourceStart + length};
}

TEST(TimelineMusic, LaysSongsOverARange) {
  const std::vector<Song> songs = {{"a", 4, 0.5}, {"sliver", 0.05}, {"b", 3}};
  const auto laid = [&](double from, double to) {
    std::string text;
    for (const auto& each : fitted(songs, from, to))
      text += fmt::format("{}{}:{:g} ", each.source, each.start, each.sourceEnd);
    return text;
  };
  EXPECT_EQ(laid(-3, 12), "a0:4 b4:3 a7:4 b11:1 ");
  EXPECT_EQ(laid(2, 2.05), "a2:4 ") << "nothing fits: one song, whole";
  EXPECT_EQ(laid(0, 7.05), "a0:4 b4:3 ") << "no sliver at the end";
  EXPECT_TRUE(fitted({songs[1]}, 0, 10).empty());
  EXPECT_EQ(fitted(songs, 0, 10)[2].volume, 0.5);
  EXPECT_EQ(fitted(songs, 0, std::numeric_limits<double>::max()).size(), maximumFittedClips);
}

TEST(TimelineMusic, CountsTheRepeatsOfASong) {
  const Row row = {clip(0, 3, "a", 1), clip(3, 4),          // begins late, then repeats whole
                   clip(7, 4, "a", 2), clip(11, 4),         // a later start opens a group of its own
                   clip(15, 4, "b"),   clip(19.5, 4, "b"),  // a gap parts
                   clip(23.5, 2, "a")};
  const std::unordered_map<UUID, Repeat> expected = {
      {row[0].id, {0, 2}}, {row[1].id, {1, 2}}, {row[2].id, {0, 2}}, {row[3].id, {1, 2}}};
  EXPECT_EQ(repeats({row.rbegin(), row.rend()}), expected);
}

TEST(TimelineMusic, FadesRunsOfMusic) {
  const Row row = {clip(20, 3), clip(0, 5), clip(5.0009, 5), clip(30, 8), clip(50, 1)};
  const auto found = runs(row, 31);
  EXPECT_EQ(found, (std::vector<TimelineMusic::Run>{{0, 10.0009, 2}, {20, 23, 1.5}, {30, 31, 0.5}}));

  const std::pair<double, double> gains[] = {{0, 0},        {0.5, 0.25}, {5, 1},  {15, 1},      {20, 0},
                                             {21, 2.0 / 3}, {21.5, 1},   {23, 0}, {30.75, 0.5}, {40, 1}};
  for (const auto& [time, expected] : gains) EXPECT_NEAR(gain(time, found), expected, 1e-9) << time;

  EXPECT_EQ(envelope(row[0], found, 31), (Envelope{0, {{20, 21.5, 0, 1}, {21.5, 23, 1, 0}}}));
  EXPECT_EQ(envelope(row[1], found, 31), (Envelope{0, {{0, 2, 0, 1}}}));
  EXPECT_EQ(envelope(row[3], found, 31), (Envelope{0, {{30, 30.5, 0, 1}, {30.5, 31, 1, 0}}}));
  EXPECT_EQ(envelope(row[4], found, 31), Envelope()) << "behind the video's end";
  EXPECT_EQ(envelope(clip(12, 3), found, 31), Envelope()) << "in no run";
}

TEST(TimelineMusic, EnvelopesFollowTheGainWithoutJumps) {
  for (std::uint64_t seed = 0; seed < 200; ++seed) {
    GeneratedEdits generated(seed);
    const auto row = generated.audioRow(1 + generated.below(15));
    const double videoEnd = generated.time(1, 60);
    const auto found = runs(row, videoEnd);
    for (const auto& each : row) {
      const auto shape = envelope(each, found, videoEnd);
      double time = each.start, level = shape.initial;
      for (const auto& ramp : shape.ramps) {
        EXPECT_GE(ramp.start, time - 1e-9) << seed;
        EXPECT_NEAR(ramp.fromGain, level, 1e-3) << seed;
        EXPECT_NEAR(ramp.toGain, gain(ramp.end, found), 1e-9) << seed;
        EXPECT_LE(ramp.end, videoEnd) << seed;
        time = ramp.end;
        level = ramp.toGain;
      }
    }
  }
}

}  // namespace
}  // namespace quillant
