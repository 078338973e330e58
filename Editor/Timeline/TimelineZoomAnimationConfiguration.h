#pragma once

#include "Editor/Timeline/TimelineZoomRegion.h"

namespace quillant {

/// What a preset means, for making zooms from a recording's clicks and for drawing them: the one table of
/// both. Times are seconds.
struct TimelineZoomAnimationConfiguration {
  // Making zooms.
  double zoomDepth = 0;
  double leadIn = 0;            ///< A zoom starts so long before its clicks.
  double tail = 0;              ///< And lasts so long after them.
  double clickMergeWindow = 0;  ///< Clicks no farther apart belong together.
  double minimumGap = 0;        ///< Between two zooms.
  double minimumSpan = 0;
  double minimumConfidence = 0;

  // Drawing them. Ramps are output seconds.
  double easeIn = 0;
  double easeOut = 0;
  TimelineZoomEasing easing = TimelineZoomEasing::smoothstep;
  bool followsCursor = false;
  double followDeadZone = 0;  ///< A fraction of the visible window.

  // Both: how near a focus may come to the picture's edges, as fractions of it.
  double focusMinimum = 0;
  double focusMaximum = 1;

  static const TimelineZoomAnimationConfiguration& of(TimelineZoomAnimationPreset preset);

  double clampedFocus(double value) const;

  friend bool operator==(const TimelineZoomAnimationConfiguration&,
                         const TimelineZoomAnimationConfiguration&) = default;
};

/// The region's preset, with what the region itself overrides.
TimelineZoomAnimationConfiguration resolvedConfiguration(const TimelineZoomRegion& zoom);

}  // namespace quillant
