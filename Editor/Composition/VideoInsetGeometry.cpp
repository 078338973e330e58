#include "Editor/Composition/VideoInsetGeometry.h"

#include <algorithm>
#include <cmath>

namespace quillant::VideoInsetGeometry {

Rect contentRect(const Rect& rect, double amountRatio, const VideoInsetBalance& balance) {
  const auto isPositive = [](double side) { return std::isfinite(side) && side > 0; };
  if (!isPositive(rect.width) || !isPositive(rect.height)) return {};
  const double keep = 1 - std::clamp(amountRatio, 0.0, 0.95);
  const auto [left, top] = balance.clamped();
  return {.x = rect.x + rect.width * (1 - keep) * left,
          .y = rect.y + rect.height * (1 - keep) * top,
          .width = rect.width * keep,
          .height = rect.height * keep};
}

}  // namespace quillant::VideoInsetGeometry
