#include "Editor/Timeline/TimelineClipSegment.h"

#include <algorithm>
#include <cmath>

#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineSpan.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

std::vector<TimelineClipSegment> TimelineClipSegment::segments(
    double duration, const std::vector<double>& splitTimes,
    const std::map<std::int64_t, double>& clipSpeeds) {
  if (!isValidDuration(duration)) return {};
  std::vector<double> boundaries = {0, duration};
  for (const double time : splitTimes)
    if (std::isfinite(time)) boundaries.push_back(std::clamp(time, 0.0, duration));
  std::ranges::sort(boundaries);

  std::vector<TimelineClipSegment> result;
  std::int64_t index = 0;
  double start = 0;
  for (const double end : boundaries) {
    if (end - start <= timeTolerance) continue;
    const auto speed = clipSpeeds.find(index);
    result.push_back({.index = index,
                      .start = start,
                      .end = end,
                      .speed = TimelineClipSpeed::normalized(speed == clipSpeeds.end() ? 1 : speed->second)});
    start = end;
    ++index;
  }
  return result;
}

}  // namespace quillant
