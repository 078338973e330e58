#include <gtest/gtest.h>
#include <limits>

#include "Editor/Composition/TimelineZoomAnimator.h"
#include "Editor/Composition/TimelineZoomCanvasTransform.h"
#include "Editor/Composition/TimelineZoomFocusResolver.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using Preset = TimelineZoomAnimationPreset;
using Easing = TimelineZoomEasing;
using Transform = TimelineZoomCanvasTransform;

TimelineZoomRegion region(double start, double end, double depth = 2, Preset preset = Preset::balanced) {
  return {.id = UUID::random(), .span = {start, end}, .depth = depth, .animationPreset = preset};
}

Transform transform(std::vector<TimelineZoomRegion> zooms,
                    std::vector<TimelineClip> clips = {{.start = 0, .end = 60}}) {
  TimelineEditSnapshot edits;
  edits.zoomRegions = std::move(zooms);
  edits.clipList = CopyOnWriteVector<TimelineClip>(std::move(clips));
  return Transform(edits, TimelineExportEditPlan::build(60, edits));
}

double scaleAt(const Transform& zooms, double time) {
  const auto effect = zooms.activeEffect(time, nullptr);
  return effect ? effect->scale : 0;
}

TEST(TimelineZoomAnimator, EasesAlongItsCurves) {
  const struct {
    Easing easing;
    double progress, value;
  } cases[] = {
      {Easing::smoothstep, 0.25, 0.15625}, {Easing::smoothstep, 0.5, 0.5},
      {Easing::smoothstep, 1.5, 1},        {Easing::easeOut, 0.25, 0.578125},
      {Easing::easeOut, 0.5, 0.875},       {Easing::easeOut, -1, 0},
      {Easing::easeInOut, 0.25, 0.0625},   {Easing::easeInOut, 0.5, 0.5},
      {Easing::easeInOut, 0.75, 0.9375},   {Easing::easeInOut, 1, 1},
      {Easing::smoothstep, 0.75, 0.84375},
  };
  for (const auto& [easing, progress, value] : cases)
    EXPECT_DOUBLE_EQ(TimelineZoomAnimator::eased(easing, progress), value) << progress;
}

TEST(TimelineZoomAnimator, RampsByThePresetAndHoldsBetween) {
  // A region of 10...20 s; the times are the middle of the way in and a quarter of the way out.
  const struct {
    Preset preset;
    double in, out, half, quarter;
  } cases[] = {{Preset::balanced, 0.45, 0.35, 0.5, 0.15625},
               {Preset::subtle, 0.24, 0.3, 0.5, 0.15625},
               {Preset::snappy, 0.18, 0.22, 0.875, 0.578125},
               {Preset::cinematic, 0.48, 0.62, 0.5, 0.0625},
               {Preset::guided, 0.42, 0.5, 0.5, 0.15625}};
  for (const auto& [preset, in, out, half, quarter] : cases) {
    const auto& configuration = TimelineZoomAnimationConfiguration::of(preset);
    const auto at = [&](double time) {
      return TimelineZoomAnimator::animationProgress({10, 20}, configuration, time);
    };
    EXPECT_NEAR(at(10 + in / 2), half, 1e-9);
    EXPECT_NEAR(at(20 - out / 4), quarter, 1e-9);
    EXPECT_EQ(at(10 + in), 1);
    EXPECT_EQ(at(20 - out), 1);
    for (const double outside : {9.999, 10.0, 20.0, 21.0}) EXPECT_EQ(at(outside), 0) << outside;
  }
  // Half a second keeps a hold of 20 %: both ramps are cut to 0.2 s. A whole second keeps the out-ramp of
  // 0.35.
  const auto& balanced = TimelineZoomAnimationConfiguration::of(Preset::balanced);
  EXPECT_NEAR(TimelineZoomAnimator::animationProgress({0, 0.5}, balanced, 0.1), 0.5, 1e-9);
  EXPECT_EQ(TimelineZoomAnimator::animationProgress({0, 0.5}, balanced, 0.25), 1);
  EXPECT_EQ(TimelineZoomAnimator::rampLength(0.35, 1), 0.35);
  EXPECT_EQ(TimelineZoomAnimator::rampLength(0.45, 1), 0.4);
  EXPECT_EQ(TimelineZoomAnimator::animationProgress({2, 2}, balanced, 2), 0);
}

TEST(TimelineZoomFocusResolver, JumpsToThePointerAnAxisAtATime) {
  // At depth 2 the window is half of the canvas; its still middle, with the dead zone of 0.25, is
  // 0.375...0.625.
  auto zoom = region(10, 20, 2, Preset::guided);
  CursorTelemetryPayload payload{.width = 1000, .height = 500};
  for (const auto& [time, x, y] :
       {std::array{12000, 600, 200}, {13000, 630, 200}, {14000, 100, 0}, {19400, 500, 480}, {19900, 990, 10}})
    payload.samples.push_back({.x = x, .y = y, .timestamp = time});
  const CursorTelemetryTrack track(payload);
  const struct {
    double time;
    Point focus;
  } cases[] = {
      {12.5, {0.5, 0.5}},                                         // x 0.6 and y 0.4 are inside
      {13.5, {0.63, 0.5}},  {14, {0.1, 0.08}}, {11, {0.5, 0.5}},  // before the first sample
      {19.6, {0.5, 0.92}},                                        // following ends with the hold, at 19.5
      {19.95, {0.5, 0.92}}, {25, {0.5, 0.92}}, {std::nan(""), {0.5, 0.5}},
  };
  for (const auto& [time, focus] : cases)
    EXPECT_EQ(TimelineZoomFocusResolver::focus(zoom, time, 2, &track), focus) << time;
  // Unmagnified the window is the canvas, and its middle half of it.
  EXPECT_EQ(TimelineZoomFocusResolver::focus(zoom, 13.5, 1, &track), (Point{0.5, 0.5}));
  EXPECT_EQ(TimelineZoomFocusResolver::focus(zoom, 13.5, 2, nullptr), (Point{0.5, 0.5}));
  const CursorTelemetryTrack empty(CursorTelemetryPayload{});
  EXPECT_EQ(TimelineZoomFocusResolver::focus(zoom, 13.5, 2, &empty), (Point{0.5, 0.5}));
  zoom.followsCursor = false;
  EXPECT_EQ(TimelineZoomFocusResolver::focus(zoom, 14, 2, &track), (Point{0.5, 0.5}));
  EXPECT_EQ(TimelineZoomFocusResolver::focus({.focusX = 0, .focusY = 1, .animationPreset = Preset::subtle}, 0,
                                             2, &track),
            (Point{0.12, 0.88}));
}

TEST(CursorTelemetryTrack, ReadsTheRawPositionAtOrBeforeATime) {
  // Out of order, and partly outside the picture.
  const CursorTelemetryTrack track(
      {.width = 200,
       .height = 1,
       .samples = {{.x = 300, .y = -4, .timestamp = 200}, {.x = 50, .y = 1, .timestamp = 100}}});
  EXPECT_EQ(track.normalizedPointAtOrBefore(-5), (Point{0.25, 1}));
  EXPECT_EQ(track.normalizedPointAtOrBefore(0.1999), (Point{0.25, 1}));
  EXPECT_EQ(track.normalizedPointAtOrBefore(0.2), (Point{1, 0}));
  EXPECT_EQ(track.normalizedPointAtOrBefore(1e300), (Point{1, 0}));
  EXPECT_EQ(track.normalizedPointAtOrBefore(std::numeric_limits<double>::infinity()), std::nullopt);
}

TEST(TimelineZoomCanvasTransform, ShowsARegionAndNothingBesideIt) {
  const auto zooms = transform({region(10, 12), region(20, 22, 0.5)});
  EXPECT_EQ(zooms.activeEffect(9.99, nullptr), std::nullopt);
  EXPECT_EQ(zooms.activeEffect(10, nullptr), (TimelineZoomEffect{1, 0.5, 0.5}));
  EXPECT_NEAR(scaleAt(zooms, 10.225), 1.5, 1e-9);
  EXPECT_EQ(scaleAt(zooms, 11), 2);
  EXPECT_EQ(zooms.activeEffect(12, nullptr), std::nullopt);
  EXPECT_EQ(scaleAt(zooms, 21), 1) << "a depth below 1 shows the canvas as it is";
  EXPECT_EQ(zooms.activeEffect(std::nan(""), nullptr), std::nullopt);
  auto added = region(10, 12);
  added.source = "added";
  EXPECT_EQ(transform({added}).activeEffect(11, nullptr), std::nullopt);
}

TEST(TimelineZoomCanvasTransform, FollowsCutsAndSpeeds) {
  // 0...11 is 0...11, 14...24 at double speed is 11...16: what was 11...14 is gone.
  const std::vector<TimelineClip> clips = {{.start = 0, .end = 11}, {.start = 14, .end = 24, .speed = 2}};
  const auto split = transform({region(9, 18)}, clips);
  EXPECT_EQ(scaleAt(split, 10), 2);
  EXPECT_NEAR(scaleAt(split, 11 - 0.175), 1.5, 1e-9) << "each piece has ramps of its own, in output seconds";
  EXPECT_EQ(scaleAt(split, 11), 1);
  EXPECT_NEAR(scaleAt(split, 11.225), 1.5, 1e-9);
  EXPECT_EQ(scaleAt(split, 12), 2);
  EXPECT_EQ(scaleAt(split, 13), 0);
  EXPECT_EQ(transform({region(11.5, 13)}, clips).activeEffect(11, nullptr), std::nullopt) << "cut away whole";
  const auto twice = transform({region(2, 4)}, {{.start = 0, .end = 5}, {.start = 0, .end = 5}});
  EXPECT_EQ(scaleAt(twice, 3), 2);
  EXPECT_EQ(scaleAt(twice, 8), 2);
}

TEST(TimelineZoomCanvasTransform, HandsOverWhereTwoRegionsMeet) {
  auto first = region(10, 12, 2);
  auto second = region(12, 14, 3);
  first.focusX = 0.2;
  second.focusX = 0.8;
  const auto meeting = transform({first, second});
  EXPECT_EQ(scaleAt(meeting, 11.9), 2) << "no way out before the seam";
  EXPECT_EQ(meeting.activeEffect(12, nullptr), (TimelineZoomEffect{2, 0.2, 0.5}));
  const auto half = meeting.activeEffect(12.225, nullptr);
  EXPECT_NEAR(half->scale, 2.5, 1e-9);
  EXPECT_NEAR(half->focusX, 0.5, 1e-9);
  EXPECT_EQ(meeting.activeEffect(12.5, nullptr), (TimelineZoomEffect{3, 0.8, 0.5}));
  EXPECT_NEAR(scaleAt(meeting, 14 - 0.175), 2, 1e-9);

  second.span.start = 12.0015;
  EXPECT_EQ(scaleAt(transform({first, second}), 12.0015), 2) << "near enough";
  second.span.start = 12.01;
  const auto apart = transform({first, second});
  EXPECT_LT(scaleAt(apart, 11.999), 1.01);
  EXPECT_EQ(scaleAt(apart, 12.01), 1);
  // The cut between 12 and 30 brings them together.
  second.span = {30, 32};
  EXPECT_EQ(scaleAt(transform({first, second}, {{.start = 0, .end = 12}, {.start = 30, .end = 60}}), 12), 2);
}

/// The rules taken at their word: every piece is looked at, for every question.
std::optional<double> plainScale(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan,
                                 double time) {
  struct Piece {
    TimelineZoomRegion zoom;
    TimelineSpan span;
  };
  std::vector<TimelineZoomRegion> zooms(edits.zoomRegions.begin(), edits.zoomRegions.end());
  std::ranges::stable_sort(zooms, {}, [](const TimelineZoomRegion& zoom) { return zoom.span.start; });
  std::vector<Piece> pieces;
  for (const auto& zoom : zooms)
    if (!zoom.source)
      for (const auto span : plan.outputSpans(zoom.span, std::nullopt)) pieces.push_back({zoom, span});
  const Piece* active = nullptr;
  for (const auto& piece : pieces)
    if (piece.span.start <= time && time < piece.span.end) active = &piece;
  if (active == nullptr) return std::nullopt;
  const Piece* before = nullptr;
  bool hasSuccessor = false;
  for (const auto& piece : pieces) {
    if (piece.zoom.id == active->zoom.id) continue;
    if (std::abs(piece.span.end - active->span.start) <= 0.002) before = &piece;
    hasSuccessor |= std::abs(piece.span.start - active->span.end) <= 0.002;
  }
  const auto configuration = resolvedConfiguration(active->zoom);
  const auto [start, end] = active->span;
  const double in = std::min(0.4 * (end - start), configuration.easeIn);
  const double out = std::min(0.4 * (end - start), configuration.easeOut);
  if (before != nullptr && time < start + in) {
    const double q = TimelineZoomAnimator::eased(configuration.easing, (time - start) / in);
    return before->zoom.depth + q * (active->zoom.depth - before->zoom.depth);
  }
  if (hasSuccessor && time > end - out) return active->zoom.depth;
  return 1 + (active->zoom.depth - 1) *
                 TimelineZoomAnimator::animationProgress(active->span, configuration, time);
}

TEST(TimelineZoomCanvasTransform, AnswersAsThePlainRulesDo) {
  constexpr double duration = 90;
  for (std::uint64_t seed = 0; seed < 25; ++seed) {
    SCOPED_TRACE(seed);
    GeneratedEdits generated(seed);
    auto edits = generated.snapshot(duration, {.clips = 10, .zooms = 12});
    // Overlapping zooms, out of order, some of them meeting.
    for (auto& zoom : edits.zoomRegions.mutate())
      if (generated.chance(0.5)) zoom.span.end += generated.time(0, 20);
    auto more = generated.zooms(5, duration);
    for (auto& zoom : more)
      if (generated.chance(0.7)) zoom.span.start = edits.zoomRegions[generated.below(12)].span.end;
    for (auto& zoom : more) edits.zoomRegions.mutate().insert(edits.zoomRegions.begin(), zoom);
    const auto plan = TimelineExportEditPlan::build(duration, edits);
    const Transform zooms(edits, plan);
    std::vector<double> times;
    for (const auto& segment : plan.segments)
      for (const double offset : {0.0, 0.05, 0.3}) times.push_back(segment.outputStart + offset);
    for (int i = 0; i < 60; ++i) times.push_back(generated.time(-1, plan.outputDuration + 1));
    for (const double time : times) {
      const auto effect = zooms.activeEffect(time, nullptr);
      const auto expected = plainScale(edits, plan, time);
      ASSERT_EQ(effect.has_value(), expected.has_value()) << time;
      ASSERT_DOUBLE_EQ(effect ? effect->scale : 1, expected.value_or(1)) << time;
    }
  }
}

TEST(TimelineZoomCanvasTransform, ChangesScaleNoFasterThanItsRamps) {
  constexpr double duration = 90;
  constexpr double frame = 1.0 / 60;
  for (std::uint64_t seed = 0; seed < 25; ++seed) {
    GeneratedEdits generated(seed);
    auto edits = generated.snapshot(duration, {.clips = 8, .zooms = 12});
    auto& zooms = edits.zoomRegions.mutate();
    for (std::size_t i = 0; i + 1 < zooms.size(); ++i)
      if (generated.chance(0.4)) zooms[i].span.end = zooms[i + 1].span.start;
    const auto plan = TimelineExportEditPlan::build(duration, edits);
    // The steepest easing runs at 3 times its mean pace, over the shortest of all ramps.
    double shortest = 0.12;
    for (const auto& zoom : zooms)
      for (const auto span : plan.outputSpans(zoom.span, std::nullopt))
        shortest = std::min(shortest, 0.4 * span.length());
    const double most = 2 * 3 * frame / shortest + 1e-9;
    const Transform prepared(edits, plan);
    double previous = 1;
    for (double time = 0; time < plan.outputDuration; time += frame) {
      const double scale = std::max(scaleAt(prepared, time), 1.0);
      ASSERT_LE(std::abs(scale - previous), most) << seed << " at " << time;
      previous = scale;
    }
  }
}

}  // namespace
}  // namespace quillant
