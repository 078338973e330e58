#include "Editor/Timeline/TimelineZoomAnimationConfiguration.h"

#include <algorithm>
#include <array>

namespace quillant {

namespace {

// In the order of the enumeration.
constexpr std::array<TimelineZoomAnimationConfiguration, 5> presets = {{
    // balanced
    {.zoomDepth = 1.75,
     .leadIn = 0.25,
     .tail = 1.35,
     .clickMergeWindow = 0.9,
     .minimumGap = 0.2,
     .minimumSpan = 0.1,
     .minimumConfidence = 0.45,
     .easeIn = 0.45,
     .easeOut = 0.35,
     .easing = TimelineZoomEasing::smoothstep,
     .followsCursor = false,
     .followDeadZone = 0.25,
     .focusMinimum = 0.08,
     .focusMaximum = 0.92},
    // subtle
    {.zoomDepth = 1.35,
     .leadIn = 0.18,
     .tail = 0.9,
     .clickMergeWindow = 0.65,
     .minimumGap = 0.28,
     .minimumSpan = 0.16,
     .minimumConfidence = 0.72,
     .easeIn = 0.24,
     .easeOut = 0.3,
     .easing = TimelineZoomEasing::smoothstep,
     .followsCursor = false,
     .followDeadZone = 0.3,
     .focusMinimum = 0.12,
     .focusMaximum = 0.88},
    // snappy
    {.zoomDepth = 1.85,
     .leadIn = 0.12,
     .tail = 0.82,
     .clickMergeWindow = 0.45,
     .minimumGap = 0.12,
     .minimumSpan = 0.1,
     .minimumConfidence = 0.35,
     .easeIn = 0.18,
     .easeOut = 0.22,
     .easing = TimelineZoomEasing::easeOut,
     .followsCursor = false,
     .followDeadZone = 0.22,
     .focusMinimum = 0.08,
     .focusMaximum = 0.92},
    // cinematic
    {.zoomDepth = 1.95,
     .leadIn = 0.45,
     .tail = 1.85,
     .clickMergeWindow = 2.0,
     .minimumGap = 0.18,
     .minimumSpan = 0.35,
     .minimumConfidence = 0.48,
     .easeIn = 0.48,
     .easeOut = 0.62,
     .easing = TimelineZoomEasing::easeInOut,
     .followsCursor = false,
     .followDeadZone = 0.28,
     .focusMinimum = 0.08,
     .focusMaximum = 0.92},
    // guided
    {.zoomDepth = 1.8,
     .leadIn = 0.32,
     .tail = 1.65,
     .clickMergeWindow = 1.55,
     .minimumGap = 0.16,
     .minimumSpan = 0.25,
     .minimumConfidence = 0.4,
     .easeIn = 0.42,
     .easeOut = 0.5,
     .easing = TimelineZoomEasing::smoothstep,
     .followsCursor = true,
     .followDeadZone = 0.25,
     .focusMinimum = 0.08,
     .focusMaximum = 0.92},
}};

}  // namespace

const TimelineZoomAnimationConfiguration& TimelineZoomAnimationConfiguration::of(
    TimelineZoomAnimationPreset preset) {
  return presets[static_cast<std::size_t>(preset)];
}

// The trusted number stands first in min and max: they return it when the other is NaN.
double TimelineZoomAnimationConfiguration::clampedFocus(double value) const {
  return std::min(focusMaximum, std::max(focusMinimum, value));
}

TimelineZoomAnimationConfiguration resolvedConfiguration(const TimelineZoomRegion& zoom) {
  auto configuration = TimelineZoomAnimationConfiguration::of(zoom.animationPreset);
  if (zoom.softness) {
    const double ramp = 0.12 + 0.68 * std::min(1.0, std::max(0.0, *zoom.softness));
    configuration.easeIn = ramp;
    configuration.easeOut = ramp;
  }
  configuration.easing = zoom.easing.value_or(configuration.easing);
  configuration.followsCursor = zoom.followsCursor.value_or(configuration.followsCursor);
  return configuration;
}

}  // namespace quillant
