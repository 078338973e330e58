#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "Core/Geometry.h"
#include "Editor/Timeline/AutoZoomGenerator.h"
#include "Editor/Timeline/TimelineZoomAnimationConfiguration.h"

namespace quillant {
namespace {

using Preset = TimelineZoomAnimationPreset;
using Samples = std::vector<CursorTelemetrySample>;
using Clicks = std::vector<CursorTelemetryClick>;

CursorTelemetryPayload payload(Clicks clicks, Samples samples = {}) {
  return {.width = 1000, .height = 1000, .samples = std::move(samples), .clicks = std::move(clicks)};
}

CursorTelemetryClick clickAt(std::int64_t timestamp, std::int64_t x = 500, std::int64_t y = 500,
                             std::int64_t count = 1) {
  return {.x = x, .y = y, .timestamp = timestamp, .clickCount = count};
}

/// From one place to another at an even pace, a sample each `step` milliseconds.
Samples moving(std::int64_t from, std::int64_t to, Point start, Point end, std::int64_t step = 20) {
  Samples samples;
  for (std::int64_t time = from; time <= to; time += step) {
    const double t = to > from ? static_cast<double>(time - from) / static_cast<double>(to - from) : 0;
    samples.push_back({.x = std::llround(start.x + t * (end.x - start.x)),
                       .y = std::llround(start.y + t * (end.y - start.y)),
                       .timestamp = time});
  }
  return samples;
}

std::vector<TimelineZoomRegion> generate(const CursorTelemetryPayload& telemetry, Preset preset,
                                         double duration = 60) {
  return AutoZoomGenerator::generate(telemetry, duration, preset);
}

TEST(AutoZoomGenerator, JudgesAClickByWhatThePointerDoesNext) {
  // The score shows in which presets the zoom survives (subtle from 0.72, cinematic from 0.48, snappy from
  // 0.35), what it keeps of the track in its end.
  const Point here{500, 500};
  const Samples tooEarlyTooLate = {{.x = 900, .y = 500, .timestamp = 10079}, {.timestamp = 12001}};
  const struct {
    const char* what;
    Samples samples;
    std::int64_t count;
    bool subtle, cinematic;
    double end;  ///< Seconds, before the tail.
  } cases[] = {
      {"nothing recorded after it", {}, 1, false, true, 10},
      {"nothing recorded after a double click", {}, 2, true, true, 10},
      {"a double click, whatever follows", moving(10000, 12000, here, {900, 100}), 2, true, true, 12},
      {"along a line", moving(10080, 11000, here, {620, 500}), 1, true, true, 11},
      {"down a menu", moving(10080, 11500, here, {500, 560}), 1, true, true, 11.5},
      {"up by as much", moving(10080, 11500, here, {500, 440}), 1, false, true, 10.7},
      {"rest", moving(10080, 11800, here, here), 1, false, true, 10.9},
      {"rest, cut short", moving(10080, 10400, here, here), 1, false, true, 10.4},
      {"away across the picture", moving(10080, 11900, here, {900, 820}), 1, false, false, 11.9},
      {"away, seen only twice", moving(10100, 11100, here, {760, 700}, 1000), 1, false, true, 10.7},
      {"too early and too late to count", tooEarlyTooLate, 1, false, true, 10},
  };
  for (const auto& [what, samples, count, subtle, cinematic, end] : cases) {
    const auto telemetry = payload({clickAt(10000, 500, 500, count)}, samples);
    EXPECT_EQ(generate(telemetry, Preset::subtle).size(), subtle ? 1u : 0u) << what;
    EXPECT_EQ(generate(telemetry, Preset::cinematic).size(), cinematic ? 1u : 0u) << what;
    const auto zooms = generate(telemetry, Preset::snappy);
    ASSERT_EQ(zooms.size(), 1u) << what;
    EXPECT_NEAR(zooms[0].span.start, 10 - 0.12, 1e-9) << what;
    EXPECT_NEAR(zooms[0].span.end, end + 0.82, 1e-9) << what;
  }
}

TEST(AutoZoomGenerator, MakesAWholeRegionOfTheClick) {
  const auto zooms = generate(payload({clickAt(2500, 990, 20, 2)}), Preset::subtle);
  ASSERT_EQ(zooms.size(), 1u);
  EXPECT_EQ(zooms[0], (TimelineZoomRegion{zooms[0].id,
                                          {2.5 - 0.18, 2.5 + 0.9},
                                          1.35,
                                          0.88,
                                          0.12,
                                          TimelineZoomMode::auto_,
                                          Preset::subtle,
                                          2500}));
  EXPECT_NE(zooms[0].id, UUID());
}

TEST(AutoZoomGenerator, JoinsClicksThatFollowEachOther) {
  const auto run = [](std::int64_t clicks, std::int64_t apart, Preset preset) {
    Clicks list;
    for (std::int64_t i = 0; i < clicks; ++i) list.push_back(clickAt(5000 + i * apart));
    return generate(payload(list), preset);
  };
  EXPECT_EQ(run(2, 800, Preset::snappy).size(), 2u);
  // Each joins the one before it, however long the cluster has become; the window's end is inside.
  const auto zooms = run(9, 900, Preset::balanced);
  ASSERT_EQ(zooms.size(), 1u);
  EXPECT_EQ(zooms[0].sourceClickTimestamp, 5000 + 8 * 900);
  EXPECT_NEAR(zooms[0].span.length(), 0.25 + 7.2 + 1.35, 1e-9);
  // In "subtle" a click of score 0.55 needs three more beside it to reach 0.72.
  EXPECT_EQ(run(3, 300, Preset::subtle).size(), 0u);
  EXPECT_EQ(run(4, 300, Preset::subtle).size(), 1u);
}

TEST(AutoZoomGenerator, LooksAtTheBestClickOfAClusterAndAtTheLaterOfEquals) {
  for (const auto& [count, focusX] : {std::pair{1, 0.7}, {2, 0.2}}) {
    const auto zoom =
        generate(payload({clickAt(5000, 200, 300, count), clickAt(5300, 700, 600)}), Preset::balanced).at(0);
    EXPECT_EQ(zoom.focusX, focusX);
    EXPECT_EQ(zoom.sourceClickTimestamp, 5300);
    EXPECT_NEAR(zoom.span.end, 5.3 + 1.35, 1e-9) << "a worse click still lengthens the zoom";
  }
}

TEST(AutoZoomGenerator, MovesOrDropsWhatWouldOverlap) {
  const auto pushed = generate(payload({clickAt(5000), clickAt(5500)}), Preset::snappy);
  ASSERT_EQ(pushed.size(), 2u);
  EXPECT_EQ(pushed[1].span.start, pushed[0].span.end + 0.12);
  EXPECT_NEAR(pushed[1].span.end, 5.5 + 0.82, 1e-9);
  // The first runs on to 12.82, so that the second, which would end at 11.02, has no room.
  const auto samples = moving(10080, 12000, {500, 500}, {620, 500});
  const auto dropped = generate(payload({clickAt(10000), clickAt(10500, 999, 999)}, samples), Preset::snappy);
  ASSERT_EQ(dropped.size(), 1u);
  EXPECT_EQ(dropped[0].sourceClickTimestamp, 10000);
}

TEST(AutoZoomGenerator, FollowsSmallMovementsWhereTheGuideAsksForThem) {
  const auto follow = [](Point end, std::int64_t until = 12000, std::int64_t step = 20, Clicks clicks = {}) {
    return generate(payload(clicks, moving(10000, until, {400, 400}, end, step)), Preset::guided);
  };
  const Point readingDown{420, 500};
  const auto zooms = follow(readingDown);
  ASSERT_EQ(zooms.size(), 1u);
  EXPECT_EQ(zooms[0].sourceClickTimestamp, std::nullopt);
  EXPECT_NEAR(zooms[0].focusX, 0.41, 1e-9);
  EXPECT_NEAR(zooms[0].focusY, 0.45, 1e-9);
  EXPECT_NEAR(zooms[0].span.start, 10 - 0.32, 1e-9);
  EXPECT_NEAR(zooms[0].span.end, 12 + 1.65, 1e-9);
  EXPECT_EQ(follow({500, 440}).size(), 1u) << "about one place";
  EXPECT_EQ(follow({410, 410}).size(), 0u) << "rest";
  EXPECT_EQ(follow({800, 400}).size(), 0u) << "a wide sweep";
  EXPECT_EQ(follow(readingDown, 10880).size(), 0u) << "too short";
  EXPECT_EQ(follow(readingDown, 12000, 300).size(), 0u) << "too few samples";
  EXPECT_TRUE(
      generate(payload({}, moving(10000, 12000, {400, 400}, readingDown)), Preset::cinematic).empty());
  // A click up to half a second off owns the moment.
  for (const std::int64_t time : {9600, 11000, 12500})
    EXPECT_EQ(follow(readingDown, 12000, 200, {clickAt(time)}).at(0).sourceClickTimestamp, time);
  EXPECT_EQ(follow(readingDown, 12000, 20, {clickAt(5000)}).size(), 2u);
}

TEST(AutoZoomGenerator, RefusesWhatHasNoPictureOrNoTime) {
  auto telemetry = payload({clickAt(1000)});
  for (const double duration : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_TRUE(generate(telemetry, Preset::balanced, duration).empty()) << duration;
  telemetry.height = 0;
  EXPECT_TRUE(generate(telemetry, Preset::balanced).empty());
}

TEST(AutoZoomGenerator, NeverOverlapsAndNeverPassesTheEnd) {
  std::mt19937 random(20);
  const auto upTo = [&](std::int64_t high) {
    return std::uniform_int_distribution<std::int64_t>(0, high)(random);
  };
  for (int round = 0; round < 200; ++round) {
    CursorTelemetryPayload telemetry{.width = 1 + upTo(2000), .height = 1 + upTo(1500)};
    const std::int64_t length = 1 + upTo(60000);
    Point at{};
    for (std::int64_t time = -200; time < length; time += 1 + upTo(200)) {
      at = {at.x + static_cast<double>(upTo(40)) - 20, at.y + static_cast<double>(upTo(40)) - 20};
      telemetry.samples.push_back({.x = std::llround(at.x), .y = std::llround(at.y), .timestamp = time});
    }
    for (std::int64_t count = upTo(60); count > 0; --count)
      telemetry.clicks.push_back(clickAt(upTo(length + 500) - 200, upTo(2000), upTo(1500), 1 + upTo(2)));
    if (round % 10 == 0) {
      constexpr auto most = std::numeric_limits<std::int64_t>::max();
      telemetry.clicks.push_back(clickAt(most, most, -most));
      telemetry.samples.push_back({.x = -most, .y = most, .timestamp = most - 1});
    }
    const double duration = static_cast<double>(length) / 1000 + (round % 3 - 1) * 0.3;
    for (const auto& [preset, name] : rawTexts<Preset>) {
      SCOPED_TRACE(testing::Message() << "round " << round << ", " << name);
      const auto& configuration = TimelineZoomAnimationConfiguration::of(preset);
      double earliest = 0;
      for (const auto& zoom : generate(telemetry, preset, duration)) {
        EXPECT_GE(zoom.span.start, earliest - 1e-9);
        EXPECT_GE(zoom.span.length(), configuration.minimumSpan - 1e-9);
        EXPECT_LE(zoom.span.end, duration);
        for (const double focus : {zoom.focusX, zoom.focusY})
          EXPECT_EQ(focus, std::clamp(focus, configuration.focusMinimum, configuration.focusMaximum));
        earliest = zoom.span.end + configuration.minimumGap;
      }
    }
  }
}

TEST(TimelineZoomAnimationConfiguration, TakesWhatTheRegionOverrides) {
  TimelineZoomRegion zoom{.animationPreset = Preset::guided};
  EXPECT_EQ(resolvedConfiguration(zoom), TimelineZoomAnimationConfiguration::of(Preset::guided));
  zoom.followsCursor = false;
  EXPECT_FALSE(resolvedConfiguration(zoom).followsCursor);
  for (const auto& [softness, ramp] : {std::pair{-1.0, 0.12}, {0.5, 0.46}, {7.0, 0.8}}) {
    zoom.softness = softness;
    EXPECT_DOUBLE_EQ(resolvedConfiguration(zoom).easeIn, ramp);
    EXPECT_DOUBLE_EQ(resolvedConfiguration(zoom).easeOut, ramp);
  }
}

}  // namespace
}  // namespace quillant
