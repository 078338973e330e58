#pragma once

#include "Core/Geometry.h"
#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

/// What a zoom looks at.
namespace quillant::TimelineZoomFocusResolver {

/// Fractions of the canvas, origin top left. `depth` is the magnification of the moment, not the region's: it
/// says how much of the canvas is visible. Without a track, or without samples, a focus that follows stands
/// still.
///
/// An axis jumps to the pointer as soon as it leaves the middle of the window that the fixed focus shows, and
/// it is not smoothed here: the pointer is smooth by itself, and a ramp hides the jumps at the region's ends.
Point focus(const TimelineZoomRegion& zoom, double sourceTime, double depth,
            const CursorTelemetryTrack* cursorTrack);

}  // namespace quillant::TimelineZoomFocusResolver
