#include "Editor/Composition/CursorOverlayGeometry.h"

#include <algorithm>
#include <cmath>

namespace quillant::CursorOverlayGeometry {

namespace {

constexpr double sourcePixelsAtSizeOne = 20;

bool isPositive(double side) {
  return std::isfinite(side) && side > 0;
}

}  // namespace

double displayScale(const Rect& contentRect, const Rect& cropRect) {
  const double cropWidth = std::abs(cropRect.width), cropHeight = std::abs(cropRect.height);
  if (!isPositive(contentRect.width) || !isPositive(contentRect.height) || !isPositive(cropWidth) ||
      !isPositive(cropHeight))
    return 0;
  const double scale = std::min(contentRect.width / cropWidth, contentRect.height / cropHeight);
  return isPositive(scale) ? scale : 0;
}

double glyphSize(double displayScale, double size) {
  const double base = std::isfinite(displayScale) ? displayScale * sourcePixelsAtSizeOne : 0;
  return std::max(1.0, base * size);
}

Point tip(const Placement& placement, Point trackPoint) {
  const auto& [content, crop, normalized, track, canvas] = placement;
  const double fit =
      std::min(content.width / std::max(crop.width, 1.0), content.height / std::max(crop.height, 1.0));
  const double left = content.center().x - crop.width * fit / 2;
  const double top = content.center().y - crop.height * fit / 2;
  const double x = normalized.width * (trackPoint.x / std::max(track.width, 1.0));
  const double y = normalized.height * (trackPoint.y / std::max(track.height, 1.0));
  return {std::clamp(left + (x - crop.x) * fit, 0.0, std::max(canvas.width, 0.0)),
          std::clamp(top + (y - crop.y) * fit, 0.0, std::max(canvas.height, 0.0))};
}

}  // namespace quillant::CursorOverlayGeometry
