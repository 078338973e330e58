#include <gtest/gtest.h>
#include <limits>

#include "Editor/Timeline/TimelineMusic.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineMusic;

TimelineAudioClip clip(double start, double length, const char* source = "a", double sourceStart = 0) {
  return {.id = UUID::random(),
          .source = source,
          .start = start,
          .sourceStart = sourceStart,
          .sourceEnd = sourceStart + length};
}

std::vector<double> lengths(const Row& row) {
  std::vector<double> result;
  for (const auto& each : row) result.push_back(each.outputLength());
  return result;
}

TEST(TimelineMusic, LaysSongsOverARange) {
  const std::vector<Song> songs = {{.source = "a", .duration = 4, .volume = 0.5},
                                   {.source = "sliver", .duration = 0.05}};
  const auto row = fitted(songs, -3, 10);
  EXPECT_EQ(lengths(row), (std::vector<double>{4, 4, 2}));
  EXPECT_EQ(row[2].start, 8);
  EXPECT_EQ(row[2].volume, 0.5);
  EXPECT_EQ(lengths(fitted(songs, 2, 2.05)), std::vector<double>{4}) << "nothing fits: one song, whole";
  EXPECT_EQ(lengths(fitted(songs, 0, 8.05)), (std::vector<double>{4, 4})) << "no sliver at the end";
  EXPECT_TRUE(fitted({songs[1]}, 0, 10).empty());
  const auto inTurn = fitted({songs[0], {.source = "b", .duration = 3}}, 0, 12);
  EXPECT_EQ(lengths(inTurn), (std::vector<double>{4, 3, 4, 1}));
  EXPECT_EQ(inTurn[3].source, "b");
  EXPECT_EQ(fitted(songs, 0, std::numeric_limits<double>::max()).size(), maximumFittedClips);
}

TEST(TimelineMusic, ChangesEveryClipOfASong) {
  const Row row = {clip(0, 4), clip(4, 4, "b"), clip(8, 4)};
  const auto quieter = setVolume(row, row[2].id, 0.25);
  EXPECT_EQ((*quieter)[0].volume, 0.25);
  EXPECT_EQ((*quieter)[1].volume, 1);
  EXPECT_EQ((*quieter)[2].volume, 0.25);
  EXPECT_FALSE(setVolume(*quieter, row[0].id, 0.25));
  EXPECT_TRUE((*setMuted(row, row[0].id, true))[2].muted);
  EXPECT_FALSE(setMuted(row, UUID(), true));
}

TEST(TimelineMusic, CountsTheRepeatsOfASong) {
  const Row row = {clip(0, 3, "a", 1), clip(3, 4),          // begins late, then repeats whole
                   clip(7, 4, "a", 2), clip(11, 4),         // a later start opens a group of its own
                   clip(15, 4, "b"),   clip(19.5, 4, "b"),  // a gap parts
                   clip(23.5, 2, "a")};
  const auto found = repeats({row.rbegin(), row.rend()});
  const std::unordered_map<UUID, Repeat> expected = {
      {row[0].id, {0, 2}}, {row[1].id, {1, 2}}, {row[2].id, {0, 2}}, {row[3].id, {1, 2}}};
  EXPECT_EQ(found, expected);
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
  EXPECT_EQ(envelope(row[3], found, 31), (Envelope{0, {{30, 30.5, 0, 1}, {30.5, 31, 1, 0}}}))
      << "cut at the end";
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
