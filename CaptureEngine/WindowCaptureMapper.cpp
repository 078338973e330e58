#include "CaptureEngine/WindowCaptureMapper.h"

#include <algorithm>

#include "CaptureEngine/OutputDimensions.h"

namespace quillant::WindowCaptureMapper {

WindowCaptureGeometry geometry(const Rect& windowFrame, double backingScale, CaptureResolution resolution) {
  const double backing = std::max(backingScale, 0.01);
  const double pixelWidth = std::max(backing * windowFrame.width, 1.0);
  const double pixelHeight = std::max(backing * windowFrame.height, 1.0);
  const double pixelsPerPoint = backing * outputScale(resolution, pixelWidth, pixelHeight);
  const OutputDimensions output = outputDimensions(resolution, pixelWidth, pixelHeight);
  return {{windowFrame.x, windowFrame.y, output.width / pixelsPerPoint, output.height / pixelsPerPoint},
          output.width,
          output.height};
}

Point mapToPayload(Point point, const Rect& liveWindow, const Rect& payloadRegion) {
  const double width = std::max(liveWindow.width, 1.0);
  const double height = std::max(liveWindow.height, 1.0);
  const double scale = std::min({payloadRegion.width / width, payloadRegion.height / height, 1.0});
  return {std::clamp((point.x - liveWindow.x) * scale, 0.0, width * scale),
          std::clamp((point.y - liveWindow.y) * scale, 0.0, height * scale)};
}

}  // namespace quillant::WindowCaptureMapper
