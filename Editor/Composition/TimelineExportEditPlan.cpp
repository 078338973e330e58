#include "Editor/Composition/TimelineExportEditPlan.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <span>

#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

using Segment = TimelineExportEditPlan::Segment;

/// Where segments are cut, by source; sorted, each point once.
using CutPoints = std::map<std::optional<std::string>, std::vector<double>>;

CutPoints cutPoints(double duration, const TimelineEditSnapshot& edits) {
  CutPoints points;
  const auto add = [&](const std::optional<std::string>& source, TimelineSpan span) {
    for (const double time : {span.start, span.end})
      points[source].push_back(source ? time : std::min(duration, std::max(0.0, time)));
  };
  for (const auto& zoom : edits.zoomRegions) add(zoom.source, zoom.span);
  for (const auto& annotation : edits.annotationRegions) add(std::nullopt, annotation.span);
  for (const auto& camera : edits.cameraClips) add(std::nullopt, camera.span);
  for (auto& [source, times] : points) {
    std::ranges::sort(times);
    times.erase(std::ranges::unique(times).begin(), times.end());
  }
  return points;
}

/// The points strictly between two times.
std::span<const double> between(const CutPoints& points, const std::optional<std::string>& source,
                                double from, double to) {
  const auto found = points.find(source);
  if (found == points.end() || !(from < to)) return {};
  const auto first = std::ranges::upper_bound(found->second, from);
  return {first, std::ranges::lower_bound(first, found->second.end(), to)};
}

/// The first segment that ends past `outputTime`: the one that plays there, or the next one.
std::size_t indexPast(const std::vector<Segment>& segments, double outputTime) {
  const auto found = std::ranges::upper_bound(segments, outputTime, std::less<>(), &Segment::outputEnd);
  return static_cast<std::size_t>(found - segments.begin());
}

}  // namespace

std::optional<TimelineSpan> Segment::outputSpan(TimelineSpan sourceSpan) const {
  const double start = std::max(sourceSpan.start, sourceStart);
  const double end = std::min(sourceSpan.end, sourceEnd);
  if (!(end - start > timeTolerance)) return std::nullopt;
  const TimelineSpan mapped{outputTime(start), outputTime(end)};
  if (!(mapped.length() > timeTolerance)) return std::nullopt;
  return mapped;
}

TimelineExportEditPlan TimelineExportEditPlan::build(double duration, const TimelineEditSnapshot& edits) {
  TimelineExportEditPlan plan;
  if (!isValidDuration(duration)) return plan;
  const auto points = cutPoints(duration, edits);
  for (const TimelineClip& clip : edits.effectiveClips(duration)) {
    // An added file is bounded by its own data, not by the recording's length.
    const double limit = clip.source ? std::numeric_limits<double>::max() : duration;
    const auto bounded = [limit](double time) { return time > 0 ? std::min(time, limit) : 0.0; };
    const double end = bounded(clip.end);
    double start = bounded(clip.start);
    const auto append = [&](double to) {
      if (to - start > timeTolerance) {
        Segment segment{.sourceStart = start,
                        .sourceEnd = to,
                        .outputStart = plan.outputDuration,
                        .speed = TimelineClipSpeed::normalized(clip.speed),
                        .source = clip.source,
                        .sound = clip.sound.value_or(TimelineRecordingSound{}),
                        .camera = clip.cameraLayout()};
        segment.outputEnd = segment.outputTime(to);
        plan.outputDuration = segment.outputEnd;
        plan.segments.push_back(std::move(segment));
      }
      start = to;
    };
    for (const double point : between(points, clip.source, start, end)) append(point);
    append(end);
  }
  return plan;
}

std::optional<double> TimelineExportEditPlan::outputTime(double sourceTime,
                                                         const std::optional<std::string>& source) const {
  for (const Segment& segment : segments)
    if (segment.sourceStart <= sourceTime && sourceTime <= segment.sourceEnd && segment.source == source)
      return segment.outputTime(sourceTime);
  return std::nullopt;
}

std::optional<double> TimelineExportEditPlan::sourceTime(double outputTime) const {
  const auto found = std::ranges::lower_bound(segments, outputTime, std::less<>(), &Segment::outputEnd);
  if (found == segments.end() || !(found->outputStart <= outputTime)) return std::nullopt;
  return found->sourceTime(outputTime);
}

std::vector<TimelineSpan> TimelineExportEditPlan::outputSpans(
    TimelineSpan sourceSpan, const std::optional<std::string>& source) const {
  std::vector<TimelineSpan> spans;
  for (const Segment& segment : segments)
    if (segment.source == source)
      if (const auto span = segment.outputSpan(sourceSpan)) spans.push_back(*span);
  return spans;
}

const Segment* TimelineExportEditPlan::segment(double outputTime) const {
  const std::size_t index = indexPast(segments, outputTime);
  if (index < segments.size()) return segments[index].outputStart <= outputTime ? &segments[index] : nullptr;
  return !segments.empty() && outputTime >= segments.back().outputStart ? &segments.back() : nullptr;
}

TimelineExportEditPlan TimelineExportEditPlan::pieces(const std::optional<std::string>& source) const {
  TimelineExportEditPlan plan{.segments = {}, .outputDuration = outputDuration};
  std::ranges::copy_if(segments, std::back_inserter(plan.segments),
                       [&](const Segment& segment) { return segment.source == source; });
  return plan;
}

std::vector<std::optional<std::string>> TimelineExportEditPlan::sourceIDs() const {
  std::vector<std::optional<std::string>> ids;
  for (const Segment& segment : segments)
    if (std::ranges::find(ids, segment.source) == ids.end())
      ids.insert(segment.source ? ids.end() : ids.begin(), segment.source);
  return ids;
}

}  // namespace quillant
