#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Editor/Composition/TimelineZoomAnimator.h"
#include "Editor/Composition/TimelineZoomCanvasTransform.h"
#include "Editor/Composition/TimelineZoomFocusResolver.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using Preset = TimelineZoomAnimationPreset;
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

/// 0 where nothing is zoomed.
std::vector<double> scales(const Transform& zooms, std::vector<double> times) {
  for (double& time : times)
    time = zooms.activeEffect(time, nullptr).value_or(TimelineZoomEffect{.scale = 0}).scale;
  return times;
}

auto near(std::vector<double> numbers) {
  return testing::Pointwise(testing::DoubleNear(1e-9), numbers);
}

TEST(TimelineZoomAnimator, RampsByThePresetAndHoldsBetween) {
  // How far it is in a quarter and three quarters of a ramp; no ramp takes more than 40 % of the span.
  const struct {
    Preset preset;
    double end, in, out, quarter, rest;
  } cases[] = {{Preset::balanced, 20, 0.45, 0.35, 0.15625, 0.84375},
               {Preset::subtle, 20, 0.24, 0.3, 0.15625, 0.84375},
               {Preset::snappy, 20, 0.18, 0.22, 0.578125, 0.984375},
               {Preset::cinematic, 20, 0.48, 0.62, 0.0625, 0.9375},
               {Preset::guided, 20, 0.42, 0.5, 0.15625, 0.84375},
               {Preset::balanced, 11, 0.4, 0.35, 0.15625, 0.84375},
               {Preset::balanced, 10.5, 0.2, 0.2, 0.15625, 0.84375}};
  for (const auto& [preset, end, in, out, quarter, rest] : cases) {
    std::vector<double> progress;
    for (const double time : {9.999, 10.0, 10 + in / 4, 10 + in * 0.75, 10 + in, end - out, end - out * 0.75,
                              end - out / 4, end, end + 1})
      progress.push_back(TimelineZoomAnimator::animationProgress(
          {10, end}, TimelineZoomAnimationConfiguration::of(preset), time));
    EXPECT_THAT(progress, near({0, 0, quarter, rest, 1, 1, rest, quarter, 0, 0})) << rawText(preset) << end;
  }
  EXPECT_EQ(TimelineZoomAnimator::eased(TimelineZoomEasing::smoothstep, 1.5), 1);
  EXPECT_EQ(TimelineZoomAnimator::eased(TimelineZoomEasing::easeOut, -1), 0);
}

TEST(TimelineZoomFocusResolver, JumpsToThePointerAnAxisAtATime) {
  using TimelineZoomFocusResolver::focus;
  // At depth 2 the window is half of the canvas; its still middle, with the dead zone of 0.25, is
  // 0.375...0.625. It follows from 10 to the way out at 19.5.
  auto zoom = region(10, 20, 2, Preset::guided);
  CursorTelemetryPayload payload{.width = 1000, .height = 500};
  payload.samples = {{900, 100, 9000}, {600, 200, 9900},  {600, 200, 12000}, {630, 200, 13000},
                     {100, 0, 14000},  {500, 480, 19400}, {990, 10, 19900}};
  const CursorTelemetryTrack track(payload), empty(CursorTelemetryPayload{});
  const Point middle{0.5, 0.5};
  const std::pair<double, Point> cases[] = {{8, middle},         {11, middle},          {12.5, middle},
                                            {13.5, {0.63, 0.5}}, {14, {0.1, 0.08}},     {19.6, {0.5, 0.92}},
                                            {25, {0.5, 0.92}},   {std::nan(""), middle}};
  for (const auto& [time, expected] : cases) EXPECT_EQ(focus(zoom, time, 2, &track), expected) << time;
  EXPECT_EQ(focus(zoom, 13.5, 1, &track), middle) << "unmagnified the window is the canvas";
  for (const auto* none : {&empty, static_cast<const CursorTelemetryTrack*>(nullptr)})
    EXPECT_EQ(focus(zoom, 13.5, 2, none), middle);
  zoom = {.focusX = 0, .focusY = 1, .animationPreset = Preset::subtle};
  EXPECT_EQ(focus(zoom, 14, 2, &track), (Point{0.12, 0.88})) << "this one does not follow";
}

TEST(TimelineZoomCanvasTransform, ShowsEachPieceOfARegionAndNothingBesideIt) {
  EXPECT_THAT(scales(transform({region(10, 12)}), {9.99, 10, 10.225, 11, 12, std::nan("")}),
              near({0, 1, 1.5, 2, 0, 0}));
  EXPECT_THAT(scales(transform({region(20, 22, 0.5)}), {21}), near({1})) << "a depth below 1";
  // 0...11 is 0...11, 14...24 at double speed is 11...16: what was 11...14 is gone. Each piece has ramps of
  // its own, in output seconds.
  const std::vector<TimelineClip> cut{{.start = 0, .end = 11}, {.start = 14, .end = 24, .speed = 2}};
  EXPECT_THAT(scales(transform({region(9, 18)}, cut), {10, 11 - 0.175, 11, 11.225, 12, 13}),
              near({2, 1.5, 1, 1.5, 2, 0}));
  auto added = region(9, 11);
  added.source = "added";
  EXPECT_THAT(scales(transform({added, region(11.5, 13)}, cut), {10, 10.9, 11}), near({0, 0, 0}));
  EXPECT_THAT(scales(transform({region(2, 4)}, {{.start = 0, .end = 5}, {.start = 0, .end = 5}}), {3, 8}),
              near({2, 2}));
}

TEST(TimelineZoomCanvasTransform, HandsOverWhereTwoRegionsMeet) {
  auto first = region(10, 12, 2), second = region(12, 14, 3);
  first.focusX = 0.2;
  second.focusX = 0.8;
  const auto meeting = transform({first, second});
  EXPECT_THAT(scales(meeting, {11.9, 12, 12.1125, 12.5, 14 - 0.175}), near({2, 2, 2.15625, 3, 2}));
  EXPECT_NEAR(meeting.activeEffect(12.1125, nullptr)->focusX, 0.2 + 0.15625 * 0.6, 1e-9);
  second.span.start = 12.0015;
  EXPECT_THAT(scales(transform({first, second}), {12.0015}), near({2})) << "near enough";
  second.span.start = 12.01;
  EXPECT_THAT(scales(transform({first, second}), {11.825, 12, 12.01}), near({1.5, 0, 1})) << "apart";
  // The cut between 12 and 30 brings them together.
  second.span = {30, 32};
  EXPECT_THAT(scales(transform({first, second}, {{.start = 0, .end = 12}, {.start = 30, .end = 60}}), {12}),
              near({2}));
}

/// The rules taken at their word: every piece is looked at, for every question.
std::optional<TimelineZoomEffect> plainEffect(const TimelineEditSnapshot& edits,
                                              const TimelineExportEditPlan& plan, double time,
                                              const CursorTelemetryTrack& track) {
  std::vector<std::pair<TimelineZoomRegion, TimelineSpan>> pieces;
  auto zooms = *edits.zoomRegions;
  std::ranges::stable_sort(zooms, {}, [](const TimelineZoomRegion& zoom) { return zoom.span.start; });
  for (const auto& zoom : zooms)
    if (!zoom.source)
      for (const auto span : plan.outputSpans(zoom.span, std::nullopt)) pieces.emplace_back(zoom, span);
  const auto last = [&](auto fits) {
    const auto found = std::find_if(pieces.rbegin(), pieces.rend(), fits);
    return found == pieces.rend() ? nullptr : &*found;
  };
  const auto* active = last([&](const auto& p) { return p.second.start <= time && time < p.second.end; });
  if (active == nullptr) return std::nullopt;
  const TimelineZoomRegion& zoom = active->first;
  const TimelineSpan span = active->second;
  const auto meets = [&](const auto& piece, double edge, double seam) {
    return piece.first.id != zoom.id && std::abs(edge - seam) <= 0.002;
  };
  const auto* before = last([&](const auto& piece) { return meets(piece, piece.second.end, span.start); });
  const auto* after = last([&](const auto& piece) { return meets(piece, piece.second.start, span.end); });
  const auto configuration = resolvedConfiguration(zoom);
  const double in = std::min(0.4 * span.length(), configuration.easeIn);
  const double out = std::min(0.4 * span.length(), configuration.easeOut);
  if (time >= span.start + in) before = nullptr;
  double progress = TimelineZoomAnimator::animationProgress(span, configuration, time);
  if (after && time > span.end - out) progress = 1;
  if (before) progress = TimelineZoomAnimator::eased(configuration.easing, (time - span.start) / in);
  const double from = before ? before->first.depth : 1;
  const double scale = from + progress * (zoom.depth - from), sourceTime = plan.sourceTime(time).value();
  const Point b = TimelineZoomFocusResolver::focus(zoom, sourceTime, scale, &track);
  const Point a = before ? TimelineZoomFocusResolver::focus(before->first, sourceTime, scale, &track) : b;
  return TimelineZoomEffect{scale, a.x + progress * (b.x - a.x), a.y + progress * (b.y - a.y)};
}

TEST(TimelineZoomCanvasTransform, AnswersAsThePlainRulesDoAndNeverJumps) {
  constexpr double duration = 90, frame = 1.0 / 30;
  CursorTelemetryPayload payload{.width = 1000, .height = 1000};
  for (std::int64_t i = 0; i < 900; ++i) payload.samples.push_back({i * 37 % 1000, i * 61 % 1000, i * 100});
  const CursorTelemetryTrack track(std::move(payload));
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    GeneratedEdits generated(seed);
    auto edits = generated.snapshot(duration, {.clips = 10, .zooms = 14});
    auto& zooms = edits.zoomRegions.mutate();
    const bool overlap = seed % 2 == 1;  // if not, some meet
    for (std::size_t i = 0; i + 3 < zooms.size(); ++i)
      if (generated.chance(0.5))
        zooms[i].span.end = overlap
                                ? zooms[i + 1 + generated.below(3)].span.start + generated.time(-0.001, 0.001)
                                : zooms[i + 1].span.start;
    if (overlap) zooms[9].span.start = zooms[8].span.start, std::swap(zooms[2], zooms[7]);
    const auto plan = TimelineExportEditPlan::build(duration, edits);
    const Transform prepared(edits, plan);
    // The steepest easing runs at 3 times its mean pace; no ramp is shorter than 40 % of its segment.
    double ramp = 0.12, previous = 1;
    for (const auto& segment : plan.segments)
      ramp = std::min(ramp, 0.4 * (segment.outputEnd - segment.outputStart));
    for (const auto& segment : plan.segments)
      for (double time = segment.outputStart; time < segment.outputEnd; time += frame) {
        SCOPED_TRACE(testing::Message() << seed << " at " << time);
        const auto effect = prepared.activeEffect(time, &track);
        const auto expected = plainEffect(edits, plan, time, track);
        ASSERT_EQ(effect.has_value(), expected.has_value());
        const auto [scale, x, y] = effect.value_or(TimelineZoomEffect());
        const auto [plainScale, plainX, plainY] = expected.value_or(TimelineZoomEffect());
        ASSERT_THAT((std::vector{scale, x, y}), near({plainScale, plainX, plainY}));
        ASSERT_LE(overlap ? 0 : std::abs(scale - previous), 2 * 3 * frame / ramp);
        previous = scale;
      }
  }
}

}  // namespace
}  // namespace quillant
