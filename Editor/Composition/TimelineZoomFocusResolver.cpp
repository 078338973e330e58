#include "Editor/Composition/TimelineZoomFocusResolver.h"

#include <algorithm>
#include <cmath>

#include "Editor/Composition/TimelineZoomAnimator.h"
#include "Editor/Timeline/TimelineZoomAnimationConfiguration.h"

namespace quillant::TimelineZoomFocusResolver {

Point focus(const TimelineZoomRegion& zoom, double sourceTime, double depth,
            const CursorTelemetryTrack* cursorTrack) {
  const auto configuration = resolvedConfiguration(zoom);
  const auto clamped = [&](Point point) {
    return Point{configuration.clampedFocus(point.x), configuration.clampedFocus(point.y)};
  };
  const Point base = clamped({zoom.focusX, zoom.focusY});
  if (!configuration.followsCursor || cursorTrack == nullptr || !std::isfinite(sourceTime)) return base;

  // It stops following where the zoom-out begins: the picture leaves without chasing the pointer.
  const double zoomOut = TimelineZoomAnimator::rampLength(configuration.easeOut, zoom.span.length());
  const double followEnd = std::max(zoom.span.end - zoomOut, zoom.span.start);
  const double time = std::min(std::max(sourceTime, zoom.span.start), followEnd);
  const auto recorded = cursorTrack->normalizedPointAtOrBefore(time);
  if (!recorded) return base;
  const Point pointer = clamped(*recorded);

  const double half = depth > 1 ? 1 / (2 * depth) : 0.5;
  const double inner = std::clamp(configuration.followDeadZone, 0.0, 0.49) * 2 * half;
  const auto axis = [&](double fixed, double followed) {
    const bool leaves = followed < fixed - half + inner || followed > fixed + half - inner;
    return leaves ? followed : fixed;
  };
  return {axis(base.x, pointer.x), axis(base.y, pointer.y)};
}

}  // namespace quillant::TimelineZoomFocusResolver
