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
      {"too early and too late to count",
       {{.x = 900, .y = 500, .timestamp = 10079}, {.timestamp = 12001}},
       1,
       false,
       true,
       10},
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
  auto expected = TimelineZoomRegion{.span = {2.5 - 0.18, 2.5 + 0.9},
                                     .depth = 1.35,
                                     .focusX = 0.88,
                                     .focusY = 0.12,
                                     .mode = TimelineZoomMode::auto_,
                                     .animationPreset = Preset::subtle,
                                     .sourceClickTimestamp = 2500};
  expected.id = zooms[0].id;
  EXPECT_EQ(zooms[0], expected);
  EXPECT_NE(zooms[0].id, UUID{});
  EXPECT_EQ(generate(payload({clickAt(2500, 990, 20)}), Preset::balanced).at(0).focusX, 0.92);
}

TEST(AutoZoomGenerator, JoinsClicksThatFollowEachOther) {
  const auto pair = payload({clickAt(5000), clickAt(5800)});
  EXPECT_EQ(generate(pair, Preset::balanced).size(), 1u);
  EXPECT_EQ(generate(pair, Preset::snappy).size(), 2u);
  // Each joins the one before it, however long the cluster has become; the window's end is inside.
  Clicks run;
  for (std::int64_t i = 0; i < 9; ++i) run.push_back(clickAt(5000 + i * 900));
  const auto zooms = generate(payload(run), Preset::balanced);
  ASSERT_EQ(zooms.size(), 1u);
  EXPECT_EQ(zooms[0].sourceClickTimestamp, 5000 + 8 * 900);
  EXPECT_NEAR(zooms[0].span.length(), 0.25 + 7.2 + 1.35, 1e-9);
  // In "subtle" a click of score 0.55 needs three more beside it to reach 0.72.
  const auto count = [](std::int64_t clicks) {
    Clicks list;
    for (std::int64_t i = 0; i < clicks; ++i) list.push_back(clickAt(5000 + i * 300));
    return generate(payload(list), Preset::subtle).size();
  };
  EXPECT_EQ(count(3), 0u);
  EXPECT_EQ(count(4), 1u);
}

TEST(AutoZoomGenerator, LooksAtTheBestClickOfAClusterAndAtTheLaterOfEquals) {
  const auto equals = generate(payload({clickAt(5000, 200, 300), clickAt(5300, 700, 600)}), Preset::balanced);
  EXPECT_EQ(equals.at(0).focusX, 0.7);
  const auto best =
      generate(payload({clickAt(5000, 200, 300, 2), clickAt(5300, 700, 600)}), Preset::balanced);
  EXPECT_EQ(best.at(0).focusX, 0.2);
  EXPECT_EQ(best.at(0).focusY, 0.3);
  EXPECT_EQ(best.at(0).sourceClickTimestamp, 5300);
  EXPECT_NEAR(best.at(0).span.end, 5.3 + 1.35, 1e-9) << "a worse click still lengthens the zoom";
}

TEST(AutoZoomGenerator, MovesOrDropsWhatWouldOverlap) {
  const auto pushed = generate(payload({clickAt(5000), clickAt(5500)}), Preset::snappy);
  ASSERT_EQ(pushed.size(), 2u);
  EXPECT_EQ(pushed[1].span.start, pushed[0].span.end + 0.12);
  EXPECT_NEAR(pushed[1].span.end, 5.5 + 0.82, 1e-9);
  // The first runs on to 12.82, so that the second, which would end at 11.02, has no room.
  auto samples = moving(10080, 12000, {500, 500}, {620, 500});
  EXPECT_EQ(generate(payload({clickAt(10000), clickAt(10200, 620, 500)}, samples), Preset::snappy).size(),
            1u);
  const auto dropped = generate(payload({clickAt(10000), clickAt(10500, 999, 999)}, samples), Preset::snappy);
  ASSERT_EQ(dropped.size(), 1u);
  EXPECT_EQ(dropped[0].sourceClickTimestamp, 10000);
  EXPECT_EQ(generate(payload({clickAt(2000)}), Preset::balanced, 2.5).at(0).span.end, 2.5);
  EXPECT_TRUE(generate(payload({clickAt(9000)}), Preset::balanced, 2.5).empty());
}

TEST(AutoZoomGenerator, FollowsSmallMovementsWhereTheGuideAsksForThem) {
  const Point here{400, 400};
  const struct {
    const char* what;
    Samples samples;
    std::size_t zooms;
  } cases[] = {
      {"reading down", moving(10000, 12000, here, {420, 500}), 1},
      {"a small circle's worth", moving(10000, 12000, here, {500, 440}), 1},
      {"rest", moving(10000, 12000, here, {410, 410}), 0},
      {"a wide sweep", moving(10000, 12000, here, {800, 400}), 0},
      {"too short", moving(10000, 10880, here, {420, 500}), 0},
      {"long enough", moving(10000, 10900, here, {420, 500}), 1},
      {"too few samples", moving(10000, 12000, here, {420, 500}, 300), 0},
  };
  for (const auto& [what, samples, zooms] : cases) {
    EXPECT_EQ(generate(payload({}, samples), Preset::guided).size(), zooms) << what;
    EXPECT_TRUE(generate(payload({}, samples), Preset::cinematic).empty()) << what;
  }
  const auto zoom = generate(payload({}, cases[0].samples), Preset::guided).at(0);
  EXPECT_EQ(zoom.sourceClickTimestamp, std::nullopt);
  EXPECT_NEAR(zoom.focusX, 0.41, 1e-9);
  EXPECT_NEAR(zoom.focusY, 0.45, 1e-9);
  EXPECT_NEAR(zoom.span.start, 10 - 0.32, 1e-9);
  EXPECT_NEAR(zoom.span.end, 12 + 1.65, 1e-9);
  // A click up to half a second off owns the moment.
  for (const std::int64_t time : {9600, 11000, 12500}) {
    const auto zooms =
        generate(payload({clickAt(time)}, moving(10000, 12000, here, {420, 500}, 200)), Preset::guided);
    ASSERT_EQ(zooms.size(), 1u) << time;
    EXPECT_EQ(zooms[0].sourceClickTimestamp, time);
  }
  EXPECT_EQ(generate(payload({clickAt(5000)}, cases[0].samples), Preset::guided).size(), 2u);
}

TEST(AutoZoomGenerator, RefusesWhatHasNoPictureOrNoTime) {
  auto telemetry = payload({clickAt(1000)});
  for (const double duration : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_TRUE(generate(telemetry, Preset::balanced, duration).empty()) << duration;
  telemetry.height = 0;
  EXPECT_TRUE(generate(telemetry, Preset::balanced).empty());
  EXPECT_TRUE(generate(payload({clickAt(-1)}), Preset::balanced).empty());
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
      double previousEnd = -configuration.minimumGap;
      for (const auto& zoom : generate(telemetry, preset, duration)) {
        EXPECT_GE(zoom.span.start, 0);
        EXPECT_GE(zoom.span.start, previousEnd + configuration.minimumGap - 1e-9);
        EXPECT_GE(zoom.span.length(), configuration.minimumSpan - 1e-9);
        EXPECT_LE(zoom.span.end, duration);
        for (const double focus : {zoom.focusX, zoom.focusY}) {
          EXPECT_GE(focus, configuration.focusMinimum);
          EXPECT_LE(focus, configuration.focusMaximum);
        }
        previousEnd = zoom.span.end;
      }
    }
  }
}

TEST(TimelineZoomAnimationConfiguration, TakesWhatTheRegionOverrides) {
  TimelineZoomRegion zoom{.animationPreset = Preset::guided};
  EXPECT_EQ(resolvedConfiguration(zoom), TimelineZoomAnimationConfiguration::of(Preset::guided));
  EXPECT_TRUE(resolvedConfiguration(zoom).followsCursor);
  zoom.followsCursor = false;
  zoom.easing = TimelineZoomEasing::easeInOut;
  EXPECT_FALSE(resolvedConfiguration(zoom).followsCursor);
  EXPECT_EQ(resolvedConfiguration(zoom).easing, TimelineZoomEasing::easeInOut);
  for (const auto& [softness, ramp] :
       {std::pair{-1.0, 0.12}, {0.0, 0.12}, {0.5, 0.46}, {1.0, 0.8}, {7.0, 0.8}}) {
    zoom.softness = softness;
    EXPECT_DOUBLE_EQ(resolvedConfiguration(zoom).easeIn, ramp);
    EXPECT_DOUBLE_EQ(resolvedConfiguration(zoom).easeOut, ramp);
  }
  EXPECT_EQ(TimelineZoomAnimationConfiguration::of(Preset::subtle).clampedFocus(0), 0.12);
}

}  // namespace
}  // namespace quillant
