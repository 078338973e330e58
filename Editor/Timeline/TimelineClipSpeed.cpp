#include "Editor/Timeline/TimelineClipSpeed.h"

#include <cmath>
#include <fmt/format.h>

namespace quillant::TimelineClipSpeed {

double normalized(double speed) {
  double nearest = allowed.front();
  if (!std::isfinite(speed)) return nearest;
  for (const double candidate : allowed)
    if (std::abs(candidate - speed) < std::abs(nearest - speed)) nearest = candidate;
  return nearest;
}

std::string label(double speed) {
  return fmt::format("{:g}x", normalized(speed));
}

}  // namespace quillant::TimelineClipSpeed
