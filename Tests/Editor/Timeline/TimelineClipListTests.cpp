#include <gtest/gtest.h>
#include <limits>

#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineClipSegment.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using TimelineClipList::Clips;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

UUID numbered(std::uint8_t number) {
  UUID id;
  id.bytes[15] = number;
  return id;
}

/// 0...10 at normal speed, then 20...30 at twice that: 15 s of output.
Clips twoClips() {
  return {{.id = numbered(1), .start = 0, .end = 10},
          {.id = numbered(2), .start = 20, .end = 30, .speed = 2}};
}

TEST(TimelineClipSpeed, TakesTheNearestAllowedSpeedAndTheLowerOfTwo) {
  const std::pair<double, double> cases[] = {{1.125, 1},      {1.375, 1.25}, {1.38, 1.5}, {3, 2}, {0.5, 1},
                                             {notANumber, 1}, {infinity, 1}, {-4, 1},     {2, 2}};
  for (const auto& [speed, expected] : cases)
    EXPECT_EQ(TimelineClipSpeed::normalized(speed), expected) << speed;
  EXPECT_EQ(TimelineClipSpeed::label(2), "2x");
  EXPECT_EQ(TimelineClipSpeed::label(1.5), "1.5x");
  EXPECT_EQ(TimelineClipSpeed::label(1.25), "1.25x");
}

TEST(TimelineClipSegment, NumbersTheStretchesBetweenBoundariesThatCount) {
  EXPECT_EQ(
      TimelineClipSegment::segments(10, {7, 3, 3.0005, -1, 12, notANumber, infinity}, {{1, 1.6}, {5, 2}}),
      (std::vector<TimelineClipSegment>{{0, 0, 3, 1}, {1, 3, 7, 1.5}, {2, 7, 10, 1}}));
  for (const double invalid : {0.0, -1.0, notANumber, infinity})
    EXPECT_TRUE(TimelineClipSegment::segments(invalid, {}, {}).empty()) << invalid;
}

TEST(TimelineClipList, FindsTheClipUnderAnOutputTime) {
  const std::pair<double, std::size_t> cases[] = {{0, 0}, {9.999, 0}, {10, 1}, {14, 1}, {15, 1}, {99, 1}};
  for (const auto& [time, expected] : cases)
    EXPECT_EQ(TimelineClipList::index(twoClips(), time), expected) << time;
  EXPECT_EQ(TimelineClipList::index({}, 0), std::nullopt);
  EXPECT_EQ(TimelineClipList::sourceTime(twoClips(), 1, 12), 24);
  EXPECT_EQ(TimelineClipList::sourceTime(twoClips(), 1, 3), 20) << "kept inside the clip";
}

TEST(TimelineClipList, SplitsOnlyWhereBothHalvesAreLongEnough) {
  for (const double time : {0.049, 9.951, 10.0, 10.049, 14.96, 15.0, 20.0, notANumber, infinity})
    EXPECT_FALSE(TimelineClipList::split(twoClips(), time)) << time;
  for (const double time : {0.05, 9.95, 10.05, 14.95})
    EXPECT_TRUE(TimelineClipList::split(twoClips(), time)) << time;

  auto clips = twoClips();
  clips[1].source = "file";
  clips[1].cameraHidden = true;
  const auto split = TimelineClipList::split(clips, 12);
  ASSERT_TRUE(split);
  auto second = clips[1];
  second.id = split->back().id;
  second.start = 24;
  clips[1].end = 24;
  clips.push_back(second);
  EXPECT_EQ(*split, clips) << "both halves keep what the clip had";
  EXPECT_NE(second.id, clips[1].id);
}

TEST(TimelineClipList, TrimsInwardOnly) {
  struct Case {
    std::uint8_t id;
    TimelineClipEdge edge;
    double to;
    std::optional<TimelineSpan> expected;
  };
  constexpr auto leading = TimelineClipEdge::leading;
  constexpr auto trailing = TimelineClipEdge::trailing;
  const Case cases[] = {
      {2, leading, 11, {{22, 30}}},
      {2, trailing, 14, {{20, 28}}},
      {1, leading, 99, {{9.95, 10}}},
      {2, trailing, -9, {{20, 20.1}}},
      {1, leading, 0.0005, {}},
      {1, leading, -3, {}},
      {1, trailing, 12, {}},
      {2, trailing, 15, {}},
      {3, leading, 1, {}},
      {1, leading, notANumber, {}},
      {1, trailing, notANumber, {}},
      {1, leading, infinity, {{9.95, 10}}},
      {1, trailing, -infinity, {{0, 0.05}}},
  };
  for (const auto& c : cases) {
    const auto trimmed = TimelineClipList::trim(twoClips(), numbered(c.id), c.edge, c.to);
    ASSERT_EQ(trimmed.has_value(), c.expected.has_value()) << c.to;
    if (!trimmed) continue;
    const auto& clip = (*trimmed)[c.id - 1u];
    EXPECT_NEAR(clip.start, c.expected->start, 1e-9) << c.to;
    EXPECT_NEAR(clip.end, c.expected->end, 1e-9) << c.to;
  }
}

TEST(TimelineClipList, DeletesOutputAcrossClips) {
  const auto across = TimelineClipList::deleteOutputRange(twoClips(), 12, 4);
  EXPECT_EQ(across, (Clips{{numbered(1), 0, 4}, {numbered(2), 24, 30, 2}})) << "each end keeps its id";
  const auto inside = TimelineClipList::deleteOutputRange(twoClips(), 4, 6);
  ASSERT_EQ(inside->size(), 3u);
  EXPECT_EQ((*inside)[0], (TimelineClip{numbered(1), 0, 4}));
  EXPECT_EQ((*inside)[1], (TimelineClip{(*inside)[1].id, 6, 10}));
  EXPECT_NE((*inside)[1].id, numbered(1));
  EXPECT_EQ(TimelineClipList::deleteOutputRange(twoClips(), 0, 10)->size(), 1u);

  const std::pair<double, double> nothing[] = {{0, 15}, {-5, 99}, {4, 4.0009}, {15, 20}, {notANumber, 4}};
  for (const auto& [from, to] : nothing)
    EXPECT_FALSE(TimelineClipList::deleteOutputRange(twoClips(), from, to)) << from << "..." << to;
}

TEST(TimelineClipList, MovesDeletesAndSpeedsUpOneClip) {
  const Clips clips = {
      {.id = numbered(1), .end = 1}, {.id = numbered(2), .end = 2}, {.id = numbered(3), .end = 3}};
  const auto order = [](const std::optional<Clips>& list) {
    std::string ids;
    for (const auto& clip : list.value_or(Clips())) ids += std::to_string(clip.id.bytes[15]);
    return ids;
  };
  EXPECT_EQ(order(TimelineClipList::move(clips, numbered(1), 99)), "231");
  EXPECT_EQ(order(TimelineClipList::move(clips, numbered(3), -99)), "312");
  EXPECT_EQ(order(TimelineClipList::move(clips, numbered(1), 1)), "213");
  EXPECT_EQ(order(TimelineClipList::move(clips, numbered(3), 2)), "") << "is there already";
  EXPECT_EQ(order(TimelineClipList::move(clips, numbered(9), 0)), "");
  EXPECT_EQ(order(TimelineClipList::delete_(clips, numbered(2))), "13");
  EXPECT_FALSE(TimelineClipList::delete_({clips[0]}, numbered(1))) << "the last clip stays";
  EXPECT_EQ((*TimelineClipList::setSpeed(clips, numbered(2), 1.8))[1].speed, 1.75);
  EXPECT_FALSE(TimelineClipList::setSpeed(clips, numbered(2), 1.1)) << "normalises to what it is";
}

TEST(TimelineClipList, MakesTheSameClipsOfTheOlderFormEveryTime) {
  EXPECT_EQ(TimelineClipList::derivedID(258, 1.0).text(), "00000000-0000-8102-3FF0-000000000000");
  const std::vector<TimelineTrimRegion> trims = {
      {.span = {6, 8}}, {.span = {2, 7}}, {.span = {9, 9.0005}}, {.span = {-5, 0.5}}, {.span = {5, 3}}};
  const auto clips = TimelineClipList::fromLegacy(trims, {1, 8.5}, {{0, 2}, {2, 1.5}}, 10);
  const auto id = TimelineClipList::derivedID;
  EXPECT_EQ(
      clips,
      (Clips{{id(0, 0.5), 0.5, 1, 2}, {id(1, 1), 1, 2}, {id(2, 8), 8, 8.5}, {id(3, 8.5), 8.5, 10, 1.5}}));
  EXPECT_EQ(TimelineClipList::fromLegacy({}, {}, {}, 10), (Clips{{id(0, 0), 0, 10}}));
  EXPECT_TRUE(TimelineClipList::fromLegacy({}, {}, {}, notANumber).empty());
  EXPECT_TRUE(TimelineClipList::fromLegacy({{.span = {-1, 99}}}, {5}, {}, 10).empty());
}

TEST(TimelineClipList, HasAnOlderFormOnlyInSourceOrderAndWithoutChoices) {
  const Clips fits = {{.start = 1, .end = 4}, {.start = 3.9996, .end = 10.0004, .speed = 2}};
  ASSERT_TRUE(TimelineClipList::legacy(fits, 10));
  const auto with = [&](auto change) {
    auto clips = fits;
    change(clips);
    return TimelineClipList::legacy(clips, 10);
  };
  EXPECT_FALSE(with([](Clips& c) { c[0].source = "file"; }));
  EXPECT_FALSE(with([](Clips& c) { c[0].sound.emplace(); }));
  EXPECT_FALSE(with([](Clips& c) { c[0].cameraHidden = false; }));
  EXPECT_FALSE(with([](Clips& c) { c[0].cameraFullScreen = false; }));
  EXPECT_FALSE(with([](Clips& c) { std::swap(c[0], c[1]); }));
  EXPECT_FALSE(with([](Clips& c) { c[1].start = 3.9994; }));
  EXPECT_FALSE(with([](Clips& c) { c[0].start = -0.0006; }));
  EXPECT_FALSE(with([](Clips& c) { c[1].end = 10.0006; }));
  EXPECT_FALSE(with([](Clips& c) { c[1].start = notANumber; }));
  EXPECT_FALSE(with([](Clips& c) { c.clear(); }));
  EXPECT_FALSE(TimelineClipList::legacy(fits, -1));
}

TEST(TimelineClipList, SaysAListInTheOlderFormAndBack) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    GeneratedEdits generated(seed);
    const auto clips = generated.plainClips(1 + generated.below(30), 60);
    const auto legacy = TimelineClipList::legacy(clips, 60);
    ASSERT_TRUE(legacy) << seed;
    const auto back =
        TimelineClipList::fromLegacy(legacy->trimRegions, legacy->splitTimes, legacy->clipSpeeds, 60);
    ASSERT_EQ(back.size(), clips.size()) << seed;
    for (std::size_t i = 0; i < clips.size(); ++i) {
      EXPECT_EQ(back[i].start, clips[i].start) << seed;
      EXPECT_EQ(back[i].end, clips[i].end) << seed;
      EXPECT_EQ(back[i].speed, clips[i].speed) << seed;
    }
    EXPECT_EQ(TimelineClipList::legacy(back, 60), legacy) << seed;
  }
}

/// What plays at an output time: which file, and where in it.
std::pair<std::optional<std::string>, double> playing(const Clips& clips, double time) {
  const auto index = *TimelineClipList::index(clips, time);
  return {clips[index].source, TimelineClipList::sourceTime(clips, index, time)};
}

TEST(TimelineClipList, LeadsFromOutputToSourceAndBack) {
  GeneratedEdits generated(1);
  for (int round = 0; round < 100; ++round) {
    const auto clips = generated.clips(1 + generated.below(20), 60);
    const auto placed = TimelineClipList::placed(clips);
    EXPECT_DOUBLE_EQ(placed.back().end, TimelineClipList::outputDuration(clips));
    for (int probe = 0; probe < 20; ++probe) {
      const double time = generated.time(0, placed.back().end);
      const auto index = *TimelineClipList::index(clips, time);
      const double source = TimelineClipList::sourceTime(clips, index, time);
      EXPECT_NEAR(placed[index].start + (source - clips[index].start) / clips[index].rate(), time, 1e-9);
    }
  }
}

TEST(TimelineClipList, EditsChangeOnlyTheOutputTheySay) {
  GeneratedEdits generated(2);
  for (int round = 0; round < 300; ++round) {
    const auto clips = generated.clips(2 + generated.below(15), 60);
    const double length = TimelineClipList::outputDuration(clips);
    const double a = generated.time(0, length), b = generated.time(0, length);
    const double low = std::min(a, b), high = std::max(a, b);
    const double probe = generated.time(0, length);
    const auto expectPlays = [&](const Clips& edited, double time, double before) {
      EXPECT_EQ(playing(edited, time).first, playing(clips, before).first) << round;
      EXPECT_NEAR(playing(edited, time).second, playing(clips, before).second, 1e-6) << round;
    };
    if (const auto split = TimelineClipList::split(clips, a)) expectPlays(*split, probe, probe);
    if (const auto cut = TimelineClipList::deleteOutputRange(clips, a, b)) {
      // An end that would leave a sliver of up to a millisecond is taken too.
      const double after = TimelineClipList::outputDuration(*cut);
      EXPECT_LE(after, length - (high - low) + 1e-9) << round;
      EXPECT_GE(after, length - (high - low) - 0.002) << round;
      if (probe < low - 0.01) expectPlays(*cut, probe, probe);
    }
    const auto& chosen = clips[generated.below(clips.size())];
    const auto moved = TimelineClipList::move(clips, chosen.id, 0).value_or(clips);
    EXPECT_NEAR(TimelineClipList::outputDuration(moved), length, 1e-9);
    if (const auto trimmed = TimelineClipList::trim(clips, chosen.id, TimelineClipEdge::leading, a)) {
      const double lost = length - TimelineClipList::outputDuration(*trimmed);
      EXPECT_GT(lost, 0.001);
      EXPECT_LE(lost, chosen.outputLength() - 0.05 + 1e-9);
    }
    EXPECT_NEAR(TimelineClipList::outputDuration(*TimelineClipList::delete_(clips, chosen.id)),
                length - chosen.outputLength(), 1e-9);
  }
}

}  // namespace
}  // namespace quillant
