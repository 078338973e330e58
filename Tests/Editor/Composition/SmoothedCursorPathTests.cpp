#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <thread>

#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double smoothings[] = {0.01, 0.1, 0.4, 1, 2};

CursorTelemetryTrack track(std::vector<CursorTelemetrySample> samples,
                           std::vector<CursorTelemetryClick> clicks = {}) {
  return CursorTelemetryTrack({1000, 800, std::move(samples), std::move(clicks)});
}

/// A pointer that rests, wanders and leaps, with clicks up to so many pixels and milliseconds beside its
/// track, some of them close together.
CursorTelemetryTrack generated(std::uint64_t seed, double aside = 5) {
  GeneratedEdits random(seed);
  std::vector<CursorTelemetrySample> samples;
  std::vector<CursorTelemetryClick> clicks;
  const auto upTo = [&](double reach) { return std::llround(random.time(-reach, reach)); };
  std::int64_t x = 500, y = 400, time = 1000;
  for (int i = 0; i < 300; ++i) {
    const double reach = random.chance(0.1) ? 300 : random.chance(0.3) ? 0 : 20;
    x += upTo(reach), y += upTo(reach);
    samples.push_back({x, y, time});
    if (random.chance(0.1)) clicks.push_back({x + upTo(aside), y + upTo(aside), time + upTo(3 * aside)});
    time += 1 + static_cast<std::int64_t>(random.below(40));
  }
  return track(std::move(samples), std::move(clicks));
}

double distance(Point a, Point b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

/// Asks at a time in milliseconds.
Point at(const CursorTelemetryTrack& track, double milliseconds, double smoothing, bool loops = false) {
  return track.point(milliseconds / 1000, loops, smoothing).value();
}

// Worked out by a Python script that shares no code: it solves each step of the spring as
// x(t) = target + (A + B t) exp(-w t), with A the distance and B = velocity + w A, over all points of the
// grid in lists, forward and back, finds the neighbouring clicks by going through all of them, and adds the
// offsets.
TEST(SmoothedCursorPath, MatchesNumbersWorkedOutElsewhere) {
  const auto pointer =
      track({{100, 200, 0}, {260, 240, 100}, {250, 400, 150}, {420, 300, 300}, {600, 500, 500}},
            {{250, 400, 150}, {270, 396, 160}, {494, 379, 380}, {9, 9, -1}, {9, 9, 501}});
  const struct {
    double smoothing, time;
    Point expected;
  } cases[] = {{0.4, 0, {125.075053257, 205.884367961}},
               {0.4, 110, {257.082947056, 271.660167227}},
               {0.4, 155, {260, 398}},
               {0.4, 220, {338.917249429, 353.396002762}},
               {0.4, 330, {446.775833097, 329.016824683}},
               {0.4, 500, {568.533015767, 464.703133839}},
               {2, 0, {100.588966131, 200.147240602}},
               {2, 300, {423.711175079, 299.943037078}}};
  for (const auto& [smoothing, time, expected] : cases)
    EXPECT_LT(distance(at(pointer, time, smoothing), expected), 1e-8) << smoothing << ", " << time;
}

TEST(SmoothedCursorPath, MeetsEveryClick) {
  for (std::uint64_t seed = 0; seed < 10; ++seed) {
    const auto pointer = generated(seed);
    std::map<std::int64_t, Point> clicks;  // of several at one time the last one counts
    for (const auto& click : pointer.clicks)
      if (click.timestamp >= 1000 && click.timestamp <= pointer.samples.back().timestamp)
        clicks[click.timestamp] = {static_cast<double>(click.x), static_cast<double>(click.y)};
    for (const double smoothing : smoothings) {
      EXPECT_EQ(pointer.smoothedPath(smoothing)->clickTimes.size(), clicks.size());
      for (const auto& [time, place] : clicks)
        EXPECT_LT(distance(at(pointer, static_cast<double>(time), smoothing), place), 1e-6)
            << seed << ", " << smoothing << ", " << time;
    }
  }
}

TEST(SmoothedCursorPath, IsIndependentOfHowItIsAsked) {
  const auto ask = [](const CursorTelemetryTrack& track, int i) { return at(track, 900 + i * 7.3, 0.4); };
  const auto pointer = generated(3), shared = generated(3);
  std::vector<Point> inOrder;
  for (int i = 0; i < 1000; ++i) inOrder.push_back(ask(pointer, i));
  // On several threads at once, to and fro, with other smoothings between.
  const auto path = shared.smoothedPath(0.4);
  std::vector<std::thread> threads;
  for (const int stride : {999, 619, 3})
    threads.emplace_back([&, copy = shared, stride] {
      for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(ask(copy, i * stride % 1000), inOrder[i * stride % 1000]);
        at(copy, 2000, i % 3 / 10.0);
      }
      EXPECT_EQ(copy.smoothedPath(0.4), path) << "built twice";
    });
  for (auto& thread : threads) thread.join();
}

TEST(SmoothedCursorPath, NeverJumpsFurtherThanTheRawTrack) {
  const auto longestStep = [](const CursorTelemetryTrack& pointer, double smoothing) {
    double longest = 0;
    for (double time = 1001; time <= 8000; ++time)
      longest = std::max(longest, distance(at(pointer, time - 1, smoothing), at(pointer, time, smoothing)));
    return longest;
  };
  for (std::uint64_t seed = 20; seed < 24; ++seed) {
    const auto pointer = generated(seed, 0);
    const double raw = longestStep(pointer, 0);
    for (const double smoothing : smoothings)
      EXPECT_LE(longestStep(pointer, smoothing), raw + 1e-9) << seed << ", " << smoothing;
  }
}

TEST(SmoothedCursorPath, TrailsNothingOnAStraightMove) {
  std::vector<CursorTelemetrySample> samples;
  for (std::int64_t i = 0; i <= 600; ++i) samples.push_back({i * 8, 3000 - i * 4, i * 10});
  const auto pointer = track(std::move(samples));
  for (const double smoothing : {0.1, 0.4, 1.0})
    for (double time = 2500; time < 3500; time += 3.7)
      EXPECT_LT(distance(at(pointer, time, smoothing), at(pointer, time, 0)), 1e-3)
          << smoothing << ", " << time;
}

TEST(SmoothedCursorPath, IsNoneWhereThereIsNothingToSmooth) {
  const std::array<double, 3> cases[] = {{0, 100, 0}, {0, 100, 0.009},  {0, 100, -1}, {0, 100, nan},
                                         {1, 0, 1},   {0, infinite, 1}, {nan, 1, 1},  {0, 9e18, 1}};
  for (const auto& [start, end, smoothing] : cases)
    EXPECT_FALSE(SmoothedCursorPath::build(start, end, smoothing, {}, [](double) { return Point{}; }))
        << start << "..." << end << ", " << smoothing;
  const auto pointer = generated(1);
  EXPECT_EQ(pointer.smoothedPath(nan), nullptr);
  EXPECT_EQ(pointer.smoothedPath(3), pointer.smoothedPath(2));
}

TEST(CursorTelemetryTrack, ClampsOrWrapsTheTime) {
  const auto pointer = track({{10, 0, 1000}, {30, 0, 3000}});
  const std::pair<double, double> clamped[] = {{0, 10}, {2000, 20}, {9000, 30}};
  for (const auto& [time, x] : clamped) EXPECT_DOUBLE_EQ(at(pointer, time, 0).x, x) << time;
  const std::pair<double, double> wrapped[] = {{2500, 25}, {3000, 10}, {4000, 20}, {500, 25}, {-1500, 25}};
  for (const auto& [time, x] : wrapped) EXPECT_DOUBLE_EQ(at(pointer, time, 0, true).x, x) << time;
  EXPECT_EQ(at(pointer, 4000, 1, true), at(pointer, 2000, 1)) << "smoothed, the wrapped time counts";
}

TEST(CursorTelemetryTrack, MakesTheBestOfOddFilesAndTimes) {
  const auto single = track({{7, 9, 500}});
  for (const double time : {-1.0, 500.0, 9000.0})
    for (const bool loops : {false, true}) EXPECT_EQ(at(single, time, 1, loops), (Point{7, 9}));
  for (const double seconds : {infinite, 1e306}) EXPECT_FALSE(single.point(seconds, true, 1));
  EXPECT_FALSE(track({}).point(0, false, 1));
  EXPECT_EQ(track({}).smoothedPath(1), nullptr);
  EXPECT_EQ(at(track({{30, 0, 3000}, {10, 0, 1000}}), 2000, 0).x, 20) << "out of order";
  const auto crowded = track({{1, 0, 0}, {2, 0, 0}, {3, 0, 100}, {4, 0, 200}, {5, 0, 200}});
  const std::pair<double, double> cases[] = {{0, 1}, {50, 2.5}, {200, 5}};  // it rests where it came last
  for (const auto& [time, x] : cases) EXPECT_EQ(at(crowded, time, 0).x, x) << time;
  const auto pressedAtOnce = track({{10, 0, 0}, {500, 0, 100}}, {{12, 3, 0}});
  EXPECT_LT(distance(at(pressedAtOnce, -5, 2), {12, 3}), 1e-6);
}

TEST(CursorTelemetryTrack, ReadsTheRawPositionAtOrBeforeATime) {
  // Out of order, and partly outside the picture.
  const CursorTelemetryTrack track({.width = 200, .height = 1, .samples = {{300, -4, 200}, {50, 1, 100}}});
  const Point first{0.25, 1}, last{1, 0};
  for (const double time : {-5.0, 0.1, 0.1999}) EXPECT_EQ(track.normalizedPointAtOrBefore(time), first);
  for (const double time : {0.2, 1e300}) EXPECT_EQ(track.normalizedPointAtOrBefore(time), last);
  EXPECT_EQ(track.normalizedPointAtOrBefore(infinite), std::nullopt);
}

}  // namespace
}  // namespace quillant
