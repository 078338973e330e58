#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "Editor/Composition/CameraLayoutTimeline.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Tests/Support/GeneratedEdits.h"

namespace quillant {
namespace {

using Plan = TimelineExportEditPlan;

TimelineEditSnapshot edit(std::vector<TimelineClip> clips) {
  TimelineEditSnapshot edits;
  edits.clipList = CopyOnWriteVector<TimelineClip>(std::move(clips));
  return edits;
}

TEST(TimelineExportEditPlan, PlaysNothingWithoutDurationOrClips) {
  for (const double duration : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
    EXPECT_EQ(Plan::build(duration, edit({{.start = 1, .end = 2}})), Plan{}) << duration;
  EXPECT_EQ(Plan::build(10, edit({})), Plan{}) << "an empty list is a list";
  EXPECT_EQ(Plan::build(10, {}).segments.size(), 1u);
}

TEST(TimelineExportEditPlan, CutsSegmentsWhereAZoomACameraOrAnAnnotationChanges) {
  auto edits = edit({{.start = -3, .end = 6, .speed = 1.13, .cameraHidden = true, .cameraFullScreen = true},
                     {.start = 20, .end = 30, .source = "added"},
                     {.start = 8, .end = 99}});
  edits.zoomRegions = {
      {.span = {1, 2}}, {.span = {22, 50}, .source = "added"}, {.span = {4, 5}, .source = "other"}};
  edits.annotationRegions = {{.span = {2, 8.0005}}};
  edits.cameraClips = {{.span = {-1, 9}}, {.span = {9, 40}}};
  const auto plan = Plan::build(10, edits);
  std::vector<TimelineSpan> spans;
  for (const auto& segment : plan.segments) spans.push_back({segment.sourceStart, segment.sourceEnd});
  // The half millisecond after 8 is too short for a segment, and is lost.
  EXPECT_EQ(spans,
            (std::vector<TimelineSpan>{{0, 1}, {1, 2}, {2, 6}, {20, 22}, {22, 30}, {8.0005, 9}, {9, 10}}));
  EXPECT_EQ(plan.segments[0].speed, 1.25);
  EXPECT_EQ(plan.segments[0].camera, TimelineCameraLayout::hidden);
  EXPECT_EQ(plan.segments[3].source, "added");
  EXPECT_DOUBLE_EQ(plan.outputDuration, 6 / 1.25 + 10 + 1.9995);
}

TEST(TimelineExportEditPlan, MapsTimesAtSeamsAndRepeats) {
  // 0...3 is added, 3...6 from 4...10, 6...10 from 2...6.
  const auto plan = Plan::build(10, edit({{.start = 0, .end = 3, .source = "added"},
                                          {.start = 4, .end = 10, .speed = 2},
                                          {.start = 2, .end = 6}}));
  using Spans = std::vector<TimelineSpan>;
  EXPECT_EQ(plan.outputTime(5, std::nullopt), 3.5) << "of a repeat, the first";
  EXPECT_EQ(plan.outputTime(3, std::nullopt), 7);
  EXPECT_EQ(plan.outputTime(1, std::nullopt), std::nullopt);
  EXPECT_EQ(plan.outputTime(1, "added"), 1);
  EXPECT_EQ(plan.sourceTime(6), 10) << "a seam belongs to the earlier segment";
  EXPECT_EQ(plan.segment(3)->speed, 2) << "or to the later, for who asks for the segment";
  EXPECT_EQ(plan.sourceTime(10), 6);
  for (const double outside : {10.001, -0.001}) EXPECT_EQ(plan.sourceTime(outside), std::nullopt);
  EXPECT_EQ(plan.segment(-0.001), nullptr);
  EXPECT_EQ(plan.segment(99), &plan.segments.back());
  EXPECT_EQ(plan.outputSpans({3, 5}, std::nullopt), (Spans{{3, 3.5}, {7, 9}}));
  constexpr double tiny = 1.0 / 512;  // under a millisecond at double speed
  EXPECT_EQ(plan.outputSpans({6 - tiny, 6}, std::nullopt), (Spans{{10 - tiny, 10}}));
  EXPECT_EQ(plan.outputSpans({5, 3}, std::nullopt), Spans{});
  EXPECT_EQ(plan.sourceIDs(), (std::vector<std::optional<std::string>>{std::nullopt, "added"}));
  const auto main = plan.pieces(std::nullopt);
  EXPECT_EQ(main, (Plan{{plan.segments[1], plan.segments[2]}, 10}));
  EXPECT_EQ(main.segment(2), nullptr);
  EXPECT_EQ(main.sourceTime(4), 6);
}

TEST(CameraLayoutTimeline, GrowsTheCameraAfterASeam) {
  const TimelineClip bubble{.start = 0, .end = 2}, brief{.start = 4, .end = 4.1};
  const TimelineClip full{.start = 2, .end = 4, .cameraFullScreen = true};
  const TimelineClip hidden{.start = 5, .end = 6, .cameraHidden = true};
  const CameraLayoutTimeline camera(Plan::build(10, edit({bubble, full, brief, full, hidden, full})));
  const std::pair<double, std::optional<double>> cases[] = {
      {-1, 0}, {0, 0},      {2, 0},   {2.1, 0.15625}, {2.2, 0.5},          {2.4, 1}, {3.9, 1},
      {4, 1},  {4.05, 0.5}, {4.1, 0}, {4.3, 0.5},     {6.2, std::nullopt}, {7.1, 1}, {99, 1}};
  for (const auto& [time, amount] : cases) {
    EXPECT_EQ(camera.cameraFullScreenAmount(time).has_value(), amount.has_value()) << time;
    EXPECT_NEAR(camera.cameraFullScreenAmount(time).value_or(0), amount.value_or(0), 1e-9) << time;
  }
  EXPECT_EQ(CameraLayoutTimeline({}).cameraFullScreenAmount(0), std::nullopt);
}

TEST(TimelineExportEditPlan, AgreesWithItselfAndWithTheClips) {
  constexpr double duration = 120;
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    GeneratedEdits generated(seed);
    auto edits = generated.snapshot(duration, {});
    const auto plan = Plan::build(duration, edits);
    double output = 0;
    for (const auto& segment : plan.segments) {
      EXPECT_EQ(segment.outputStart, output);
      EXPECT_GT(segment.sourceEnd - segment.sourceStart, 0.001);
      output = segment.outputEnd;
    }
    EXPECT_EQ(plan.outputDuration, output);
    // Where nothing cuts its clips, the plan is the list.
    edits.zoomRegions = {}, edits.annotationRegions = {}, edits.cameraClips = {};
    const auto uncut = Plan::build(duration, edits);
    const auto clips = edits.effectiveClips(duration);
    // What vanishes between cuts is under a millisecond each.
    EXPECT_NEAR(output, uncut.outputDuration, 0.001 * static_cast<double>(plan.segments.size()));
    for (int i = 0; i < 50; ++i) {
      const double time = generated.time(0, output - 1) + 0.0003;  // beside all seams
      const auto* segment = plan.segment(time);
      const double source = segment->sourceTime(time);
      EXPECT_EQ(plan.sourceTime(time).value_or(source), source);
      EXPECT_LE(plan.outputTime(source, segment->source).value_or(1e9), time + 1e-9) << "the first place";
      const auto spans = plan.outputSpans({source - 0.5, source + 0.5}, segment->source);
      EXPECT_TRUE(std::ranges::any_of(
          spans, [time](TimelineSpan span) { return span.start <= time && time <= span.end; }));
      EXPECT_NEAR(uncut.sourceTime(time).value_or(0),
                  TimelineClipList::sourceTime(clips, *TimelineClipList::index(clips, time), time), 1e-6);
    }
  }
}

}  // namespace
}  // namespace quillant
