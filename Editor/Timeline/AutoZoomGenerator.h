#pragma once

#include <vector>

#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

/// Turns the pointer's track into zooms: one for each cluster of clicks that looks deliberate, judged by what
/// the pointer does in the two seconds after each click. With the preset "guided", small steady movements far
/// from any click make zooms too.
namespace quillant::AutoZoomGenerator {

/// Zooms in source seconds of the recording, sorted by start, no two overlapping and none past `duration`.
/// They have fresh ids and are otherwise a pure function of the arguments. The payload may be in any order
/// and hold any numbers.
std::vector<TimelineZoomRegion> generate(const CursorTelemetryPayload& payload, double duration,
                                         TimelineZoomAnimationPreset preset);

}  // namespace quillant::AutoZoomGenerator
