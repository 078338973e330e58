#include <gtest/gtest.h>
#include <limits>
#include <tuple>

#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineClipSegment.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using namespace TimelineClipList;

constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr auto leading = TimelineClipEdge::leading, trailing = TimelineClipEdge::trailing;
const UUID first = UUID::random(), second = UUID::random();

/// 0...10 at normal speed, then 20...30 at twice that: 15 s of output.
Clips twoClips() {
  return {{first, 0, 10}, {second, 20, 30, 2}};
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
  for (const auto& [time, expected] : cases) EXPECT_EQ(index(twoClips(), time), expected) << time;
  EXPECT_EQ(index({}, 0), std::nullopt);
  EXPECT_EQ(sourceTime(twoClips(), 1, 12), 24);
  EXPECT_EQ(sourceTime(twoClips(), 1, 3), 20) << "kept inside the clip";
}

TEST(TimelineClipList, SplitsIntoHalvesThatKeepWhatTheClipHad) {
  for (const double time : {0.049, 9.951, 10.0, 10.049, 14.96, 15.0, 20.0, notANumber, infinity})
    EXPECT_FALSE(split(twoClips(), time)) << time;
  for (const double time : {0.05, 9.95, 10.05, 14.95}) EXPECT_TRUE(split(twoClips(), time)) << time;
  Clips expected = {{first, 0, 10, 2, "file", TimelineRecordingSound{.micMuted = true}, true}};
  const auto halves = split(expected, 2).value();
  expected.push_back(expected[0]);
  expected[0].end = expected[1].start = 4;
  expected[1].id = halves.at(1).id;
  EXPECT_EQ(halves, expected);
}

TEST(TimelineClipList, RefusesWhatWouldLeaveNothing) {
  const std::pair<double, double> cuts[] = {{0, 15}, {-5, 99}, {4, 4.0009}, {15, 20}, {notANumber, 4}};
  for (const auto& [from, to] : cuts) EXPECT_FALSE(deleteOutputRange(twoClips(), from, to)) << from;
  EXPECT_FALSE(delete_({twoClips()[0]}, first));
  EXPECT_EQ(delete_(twoClips(), first), Clips{twoClips()[1]});
  const std::tuple<TimelineClipEdge, double, double, double> trims[] = {
      {leading, 99, 9.95, 10}, {leading, infinity, 9.95, 10}, {trailing, -infinity, 0, 0.05}};
  for (const auto& [edge, to, start, end] : trims) {
    const auto clip = trim(twoClips(), first, edge, to).value().at(0);
    EXPECT_NEAR(clip.start, start, 1e-9) << to;
    EXPECT_NEAR(clip.end, end, 1e-9) << to;
  }
  for (const double to : {0.0005, -3.0, notANumber}) EXPECT_FALSE(trim(twoClips(), first, leading, to)) << to;
  for (const double to : {12.0, 10.0, notANumber}) EXPECT_FALSE(trim(twoClips(), first, trailing, to)) << to;
}

TEST(TimelineClipList, MakesTheSameClipsOfTheOlderFormEveryTime) {
  EXPECT_EQ(derivedID(258, 1.0).text(), "00000000-0000-8102-3FF0-000000000000");
  const std::vector<TimelineTrimRegion> trims = {
      {.span = {6, 8}}, {.span = {2, 7}}, {.span = {9, 9.0005}}, {.span = {-5, 0.5}}, {.span = {5, 3}}};
  EXPECT_EQ(fromLegacy(trims, {1, 8.5}, {{0, 2}, {2, 1.5}}, 10), (Clips{{derivedID(0, 0.5), 0.5, 1, 2},
                                                                        {derivedID(1, 1), 1, 2},
                                                                        {derivedID(2, 8), 8, 8.5},
                                                                        {derivedID(3, 8.5), 8.5, 10, 1.5}}));
  EXPECT_EQ(fromLegacy({}, {}, {}, 10), (Clips{{derivedID(0, 0), 0, 10}}));
  EXPECT_TRUE(fromLegacy({}, {}, {}, notANumber).empty());
  EXPECT_TRUE(fromLegacy({{.span = {-1, 99}}}, {5}, {}, 10).empty());
}

TEST(TimelineClipList, HasAnOlderFormOnlyInSourceOrderAndWithoutChoices) {
  const Clips fits = {{first, 1, 4}, {second, 3.9996, 10.0004, 2}};
  EXPECT_TRUE(legacy(fits, 10));
  EXPECT_FALSE(legacy(fits, -1));
  EXPECT_FALSE(legacy({}, 10));
  using Change = void (*)(Clips&);
  const Change changes[] = {
      [](Clips& c) { c[0].source = "file"; },      [](Clips& c) { c[0].sound.emplace(); },
      [](Clips& c) { c[0].cameraHidden = false; }, [](Clips& c) { c[0].cameraFullScreen = false; },
      [](Clips& c) { std::swap(c[0], c[1]); },     [](Clips& c) { c[1].start = 3.9994; },
      [](Clips& c) { c[0].start = -0.0006; },      [](Clips& c) { c[1].end = 10.0006; },
      [](Clips& c) { c[1].start = notANumber; },   [](Clips& c) { c[0].end = 0.5; }};
  for (const auto& change : changes) {
    auto clips = fits;
    change(clips);
    EXPECT_FALSE(legacy(clips, 10)) << &change - changes;
  }
}

TEST(TimelineClipList, SaysAListInTheOlderFormAndBack) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    GeneratedEdits generated(seed);
    auto clips = generated.plainClips(1 + generated.below(30), 60);
    const auto older = legacy(clips, 60);
    ASSERT_TRUE(older) << seed;
    const auto back = fromLegacy(older->trimRegions, older->splitTimes, older->clipSpeeds, 60);
    ASSERT_EQ(back.size(), clips.size()) << seed;
    for (std::size_t i = 0; i < clips.size(); ++i) clips[i].id = back[i].id;
    EXPECT_EQ(back, clips) << seed;
    EXPECT_EQ(legacy(back, 60), older) << seed;
  }
  // A clip of no length stands before the one over the segment's middle, and starts behind that middle.
  EXPECT_EQ(legacy({{first, 0, 5}, {second, 5.0009, 5.0009}, {second, 5.00045, 5.0013, 2}}, 10)->clipSpeeds,
            (std::map<std::int64_t, double>{{1, 2}}));
}

/// What plays at an output time: which file, and where in it.
std::pair<std::optional<std::string>, double> playing(const Clips& clips, double time) {
  const auto at = *index(clips, time);
  return {clips[at].source, sourceTime(clips, at, time)};
}

TEST(TimelineClipList, EditsChangeOnlyTheOutputTheySay) {
  GeneratedEdits generated(2);
  for (int round = 0; round < 300; ++round) {
    SCOPED_TRACE(round);
    const auto clips = generated.clips(2 + generated.below(15), 60);
    const double length = outputDuration(clips);
    const double a = generated.time(0, length), b = generated.time(0, length);
    const double low = std::min(a, b), high = std::max(a, b);
    const double probe = generated.time(0, length);
    const auto at = *index(clips, probe);
    EXPECT_NEAR(placed(clips)[at].start + (playing(clips, probe).second - clips[at].start) / clips[at].rate(),
                probe, 1e-9);
    const auto expectPlays = [&](const Clips& edited) {
      EXPECT_EQ(playing(edited, probe).first, playing(clips, probe).first);
      EXPECT_NEAR(playing(edited, probe).second, playing(clips, probe).second, 1e-6);
    };
    if (const auto halves = split(clips, a)) expectPlays(*halves);
    if (const auto cut = deleteOutputRange(clips, a, b)) {
      // An end that would leave a sliver of up to a millisecond is taken too.
      EXPECT_NEAR(outputDuration(*cut), length - (high - low) - 0.001, 0.001 + 1e-9);
      if (probe < low - 0.01) expectPlays(*cut);
    }
    const auto& chosen = clips[generated.below(clips.size())];
    EXPECT_NEAR(outputDuration(move(clips, chosen.id, 0).value_or(clips)), length, 1e-9);
    if (const auto trimmed = trim(clips, chosen.id, leading, a)) {
      const double lost = length - outputDuration(*trimmed);
      EXPECT_GT(lost, 0.001);
      EXPECT_LE(lost, chosen.outputLength() - 0.05 + 1e-9);
    }
    EXPECT_NEAR(outputDuration(*delete_(clips, chosen.id)), length - chosen.outputLength(), 1e-9);
  }
}

}  // namespace
}  // namespace quillant
