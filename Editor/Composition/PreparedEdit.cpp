#include "Editor/Composition/PreparedEdit.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

/// A gap of the camera that is shorter holds the nearest frame; seconds.
constexpr double shortestGap = 0.25;

}  // namespace

PreparedEdit::PreparedSource::PreparedSource(const Source& source, const TimelineEditSnapshot& edits,
                                             const TimelineExportEditPlan& plan,
                                             const std::optional<FacecamSettings>& cameraFallback)
    : pieces(plan.pieces(source.id)), camera(source.camera) {
  for (const auto& segment : pieces.segments) {
    const bool goesOn = !stretches.empty() && segment.outputStart == stretches.back().outputEnd &&
                        std::abs(segment.sourceStart - stretches.back().source.end) <= timeTolerance;
    if (!goesOn) stretches.push_back({0, {segment.sourceStart, segment.sourceEnd}});
    stretches.back().outputEnd = segment.outputEnd;
    stretches.back().source.end = segment.sourceEnd;
  }

  if (!camera) return;
  // Output is shorter than its source where it is sped up: late camera clips must not be lost by that.
  const double played = pieces.segments.empty() ? plan.outputDuration : pieces.segments.back().outputEnd;
  const double duration = std::max(played, source.duration);
  std::vector<TimelineSpan> spans;
  for (auto& clip : edits.zooms(source.id).resolvedCameraClips(duration, cameraFallback)) {
    const bool lasts = std::abs(clip.span.end - duration) < timeTolerance;
    spans.push_back({clip.span.start, lasts ? std::numeric_limits<double>::infinity() : clip.span.end});
    cameraSettings.push_back(std::move(clip.settings));
  }
  cameraSpans = ActiveSpans(spans);
}

PreparedEdit::PreparedEdit(const TimelineEditSnapshot& edits, std::vector<Source> sources,
                           const std::optional<FacecamSettings>& cameraFallback, CaptionRenderPlan captions)
    : plan_(TimelineExportEditPlan::build(sources.at(mainRecording).duration, edits)),
      zooms_(edits, plan_.pieces(std::nullopt)),
      cameraLayout_(plan_),
      annotations_(edits, plan_),
      captions_(std::move(captions)) {
  std::map<std::optional<std::string>, SourceNumber> numbers;
  for (const Source& source : sources) {
    numbers.emplace(source.id, sources_.size());
    sources_.emplace_back(source, edits, plan_,
                          source.id ? cameraFallback.value_or(FacecamSettings{}) : cameraFallback);
  }
  for (const auto& segment : plan_.segments) {
    const auto found = numbers.find(segment.source);
    segmentSources_.push_back(found == numbers.end() ? mainRecording : found->second);
  }
}

PreparedEdit::SourceNumber PreparedEdit::source(double outputTime) const {
  const auto* segment = plan_.segment(outputTime);
  return segment ? segmentSources_[segment - plan_.segments.data()] : mainRecording;
}

std::optional<double> PreparedEdit::sourceTime(SourceNumber source, double outputTime) const {
  return sources_[source].pieces.sourceTime(outputTime);
}

std::optional<TimelineZoomEffect> PreparedEdit::zoom(SourceNumber source, double outputTime,
                                                     const CursorTelemetryTrack* cursorTrack) const {
  return source == mainRecording ? zooms_.activeEffect(outputTime, cursorTrack) : std::nullopt;
}

const std::vector<FacecamSettings>& PreparedEdit::cameraSettings(SourceNumber source) const {
  return sources_[source].cameraSettings;
}

std::optional<std::size_t> PreparedEdit::activeCameraSettings(SourceNumber source, double sourceTime) const {
  const auto active = sources_[source].cameraSpans.at(sourceTime);
  if (!active || !sources_[source].cameraSettings[*active].enabled) return std::nullopt;
  return active;
}

std::optional<double> PreparedEdit::cameraFrameTime(SourceNumber source, double outputTime) const {
  const auto& [pieces, stretches, camera, settings, spans] = sources_[source];
  const auto time = pieces.sourceTime(outputTime);
  if (!camera || !time) return std::nullopt;
  const auto stretch =
      std::ranges::lower_bound(stretches, outputTime, std::less<>(), &PreparedSource::Stretch::outputEnd);
  if (stretch == stretches.end()) return std::nullopt;
  const TimelineSpan played = stretch->source;
  if (*time < camera->start)
    return camera->start - played.start < shortestGap ? std::optional(camera->start) : std::nullopt;
  if (*time > camera->end)
    return played.end - camera->end < shortestGap ? std::optional(camera->end) : std::nullopt;
  return time;
}

}  // namespace quillant
