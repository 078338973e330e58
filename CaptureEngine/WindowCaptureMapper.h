#pragma once

#include "CaptureEngine/CaptureResolution.h"
#include "Core/Geometry.h"

namespace quillant {

struct WindowCaptureGeometry {
  Rect telemetryRegion;  ///< What the picture shows of the window: global points, origin at the top left.
  int outputWidth = 0;   ///< pixels, even
  int outputHeight = 0;

  friend bool operator==(const WindowCaptureGeometry&, const WindowCaptureGeometry&) = default;
};

/// From a window on the desktop to the picture of its recording. All points are global ones with the origin
/// at the top left of the primary display.
namespace WindowCaptureMapper {

WindowCaptureGeometry geometry(const Rect& windowFrame, double backingScale, CaptureResolution resolution);

/// Where a point over the window lies in the region that the recording started with. A window that has grown
/// since is fitted into that region as the picture is, and a point beside the window lies on its edge.
Point mapToPayload(Point point, const Rect& liveWindow, const Rect& payloadRegion);

}  // namespace WindowCaptureMapper
}  // namespace quillant
