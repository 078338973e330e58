#pragma once

#include "Editor/Timeline/TimelineSpan.h"
#include "Editor/Timeline/TimelineZoomAnimationConfiguration.h"

/// How far a zoom has progressed at a time.
namespace quillant::TimelineZoomAnimator {

/// `progress`, brought into 0...1, along the easing's curve.
double eased(TimelineZoomEasing easing, double progress);

/// A ramp of `wanted` seconds in a span of `spanLength`: it never takes more than 40 %, so that a short zoom
/// keeps a hold of at least 20 % between its two ramps.
double rampLength(double wanted, double spanLength);

/// 0 outside `span` and at its end, 1 between its ramps. The span and the time are on one clock.
double animationProgress(TimelineSpan span, const TimelineZoomAnimationConfiguration& configuration,
                         double time);

}  // namespace quillant::TimelineZoomAnimator
