#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

constexpr double smoothings[] = {0.01, 0.1, 0.4, 1, 2};

CursorTelemetryTrack track(std::vector<CursorTelemetrySample> samples,
                           std::vector<CursorTelemetryClick> clicks = {}) {
  return CursorTelemetryTrack(
      {.width = 1000, .height = 800, .samples = std::move(samples), .clicks = std::move(clicks)});
}

/// A pointer that rests, wanders and leaps, with clicks beside its track, some of them close together.
CursorTelemetryTrack generated(std::uint64_t seed) {
  GeneratedEdits random(seed);
  std::vector<CursorTelemetrySample> samples;
  std::vector<CursorTelemetryClick> clicks;
  const auto near = [&](std::int64_t at, std::size_t reach) {
    return at + static_cast<std::int64_t>(random.below(2 * reach + 1)) - static_cast<std::int64_t>(reach);
  };
  std::int64_t x = 500, y = 400, time = 1000;
  for (int i = 0; i < 300; ++i) {
    const std::size_t reach = random.chance(0.1) ? 300 : random.chance(0.3) ? 0 : 20;
    samples.push_back({.x = x = near(x, reach), .y = y = near(y, reach), .timestamp = time});
    if (random.chance(0.1)) clicks.push_back({.x = near(x, 3), .y = near(y, 3), .timestamp = near(time, 12)});
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
  const auto pointer = track({{.x = 100, .y = 200, .timestamp = 0},
                              {.x = 140, .y = 180, .timestamp = 50},
                              {.x = 260, .y = 240, .timestamp = 100},
                              {.x = 250, .y = 400, .timestamp = 150},
                              {.x = 400, .y = 420, .timestamp = 200},
                              {.x = 420, .y = 300, .timestamp = 300},
                              {.x = 640, .y = 310, .timestamp = 400},
                              {.x = 600, .y = 500, .timestamp = 500}},
                             {{.x = 250, .y = 400, .timestamp = 150},
                              {.x = 270, .y = 396, .timestamp = 160},
                              {.x = 648, .y = 304, .timestamp = 400}});
  const struct {
    double time;
    Point expected;
  } cases[] = {{0, {115.722102253, 196.531416957}},
               {70, {179.326826606, 205.426478351}},
               {110, {256.845584927, 271.422805098}},
               {150, {250, 400}},
               {155, {260, 398}},
               {160, {270, 396}},
               {220, {397.770958650, 386.335629834}},
               {250, {409.403860071, 353.825454868}},
               {330, {484.919851217, 304.168738442}},
               {400, {648, 304}},
               {470, {617.463114404, 436.761327186}},
               {500, {610.915553320, 456.957762354}}};
  for (const auto& [time, expected] : cases)
    EXPECT_LT(distance(at(pointer, time, 0.4), expected), 1e-8) << time;
}

TEST(SmoothedCursorPath, MeetsEveryClick) {
  for (std::uint64_t seed = 0; seed < 10; ++seed) {
    const auto pointer = generated(seed);
    for (const double smoothing : smoothings) {
      const auto path = pointer.smoothedPath(smoothing);
      ASSERT_TRUE(path);
      EXPECT_TRUE(std::ranges::is_sorted(path->clickTimes, std::less_equal()));
      for (const double time : path->clickTimes) {
        // Of several clicks at one time the last one counts.
        const auto click =
            std::find_if(pointer.clicks.rbegin(), pointer.clicks.rend(),
                         [&](const auto& each) { return static_cast<double>(each.timestamp) == time; });
        const Point expected{static_cast<double>(click->x), static_cast<double>(click->y)};
        EXPECT_LT(distance(at(pointer, time, smoothing), expected), 1e-6)
            << seed << ", " << smoothing << ", " << time;
      }
    }
  }
}

TEST(SmoothedCursorPath, IsIndependentOfHowItIsAsked) {
  const auto pointer = generated(3);
  std::vector<double> times;
  for (double time = 900; time < 8000; time += 7.3) times.push_back(time);
  std::vector<Point> inOrder;
  for (const double time : times) inOrder.push_back(at(pointer, time, 0.4));
  // Afresh from the end, with other smoothings between, and on several threads at once.
  const auto again = generated(3);
  for (std::size_t i = times.size(); i-- > 0;) {
    ASSERT_EQ(at(again, times[i], 0.4), inOrder[i]);
    at(again, times[i], static_cast<double>(i % 7) / 10);
  }
  const auto shared = generated(3);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread)
    threads.emplace_back([&, copy = shared] {
      for (std::size_t i = 0; i < times.size(); ++i) EXPECT_EQ(at(copy, times[i], 0.4), inOrder[i]);
      EXPECT_EQ(copy.smoothedPath(0.4), shared.smoothedPath(0.4));
    });
  for (auto& thread : threads) thread.join();
}

TEST(SmoothedCursorPath, NeverJumpsFurtherThanTheRawTrack) {
  for (std::uint64_t seed = 20; seed < 24; ++seed) {
    auto pointer = generated(seed);
    // As recorded: at the time and place of a sample.
    for (std::size_t i = 0; i < pointer.clicks.size(); ++i) {
      const auto& sample = pointer.samples[i * pointer.samples.size() / pointer.clicks.size()];
      auto& click = pointer.clicks[i];
      click.x = sample.x, click.y = sample.y, click.timestamp = sample.timestamp;
    }
    const auto longestStep = [&](double smoothing) {
      double longest = 0;
      Point last = at(pointer, 1000, smoothing);
      for (double time = 1001; time <= 8000; ++time) {
        const Point next = at(pointer, time, smoothing);
        longest = std::max(longest, distance(last, next));
        last = next;
      }
      return longest;
    };
    const double raw = longestStep(0);
    for (const double smoothing : smoothings)
      EXPECT_LE(longestStep(smoothing), raw + 1e-9) << seed << ", " << smoothing;
  }
}

TEST(SmoothedCursorPath, TrailsNothingOnAStraightMove) {
  std::vector<CursorTelemetrySample> samples;
  for (std::int64_t i = 0; i <= 600; ++i)
    samples.push_back({.x = i * 8, .y = 3000 - i * 4, .timestamp = i * 10});
  const auto pointer = track(std::move(samples));
  for (const double smoothing : {0.1, 0.4, 1.0})
    for (double time = 2500; time < 3500; time += 3.7)
      EXPECT_LT(distance(at(pointer, time, smoothing), at(pointer, time, 0)), 1e-3)
          << smoothing << ", " << time;
}

TEST(SmoothedCursorPath, IsNoneWhereThereIsNothingToSmooth) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN(),
                   infinite = std::numeric_limits<double>::infinity();
  const auto builds = [](double start, double end, double smoothing) {
    return SmoothedCursorPath::build(start, end, smoothing, {}, [](double) { return Point{}; }).has_value();
  };
  EXPECT_TRUE(builds(0, 100, 0.01));
  EXPECT_TRUE(builds(100, 100, 3));
  for (const double smoothing : {0.0, 0.009, -1.0, nan}) EXPECT_FALSE(builds(0, 100, smoothing)) << smoothing;
  EXPECT_FALSE(builds(1, 0, 1));
  EXPECT_FALSE(builds(0, infinite, 1));
  EXPECT_FALSE(builds(nan, 1, 1));
  EXPECT_FALSE(builds(0, 9e18, 1));

  const auto pointer = generated(1);
  EXPECT_EQ(pointer.smoothedPath(nan), nullptr);
  EXPECT_EQ(pointer.smoothedPath(3), pointer.smoothedPath(2));
}

TEST(CursorTelemetryTrack, ClampsOrWrapsTheTime) {
  const auto pointer = track({{.x = 10, .timestamp = 1000}, {.x = 30, .timestamp = 3000}},
                             {{.x = 700, .timestamp = 999}, {.x = 700, .timestamp = 3001}});
  const struct {
    double milliseconds;
    bool loops;
    double x;
  } cases[] = {{0, false, 10},   {2000, false, 20}, {9000, false, 30}, {2500, true, 25},
               {3000, true, 10}, {4000, true, 20},  {500, true, 25},   {-1500, true, 25}};
  for (const auto& [milliseconds, loops, x] : cases)
    EXPECT_DOUBLE_EQ(at(pointer, milliseconds, 0, loops).x, x) << milliseconds;
  // Smoothed, the wrapped time is the one that counts; clicks outside the samples do not.
  EXPECT_EQ(at(pointer, 4000, 1, true), at(pointer, 2000, 1));
  EXPECT_NEAR(at(pointer, 1000, 1).x, 10, 5);

  EXPECT_FALSE(pointer.point(std::numeric_limits<double>::infinity(), false, 1));
  EXPECT_FALSE(pointer.point(1e306, true, 1));
  EXPECT_FALSE(track({}).point(0, false, 1));
  EXPECT_EQ(track({}).smoothedPath(1), nullptr);
}

TEST(CursorTelemetryTrack, MakesTheBestOfOddFiles) {
  const auto single = track({{.x = 7, .y = 9, .timestamp = 500}});
  for (const double time : {-1.0, 500.0, 9000.0})
    for (const bool loops : {false, true}) EXPECT_EQ(at(single, time, 1, loops), (Point{7, 9}));
  const auto unsorted = track({{.x = 30, .timestamp = 3000}, {.x = 10, .timestamp = 1000}});
  EXPECT_EQ(at(unsorted, 2000, 0).x, 20);
  const auto pressedAtOnce =
      track({{.x = 10, .timestamp = 0}, {.x = 500, .timestamp = 100}}, {{.x = 12, .y = 3, .timestamp = 0}});
  EXPECT_LT(distance(at(pressedAtOnce, -5, 2), {12, 3}), 1e-6);
}

}  // namespace
}  // namespace quillant
