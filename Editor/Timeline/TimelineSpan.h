#pragma once

#include <cmath>

#include "Core/JSONForward.h"

namespace quillant {

/// A time range in seconds. Its owner says on which clock.
struct TimelineSpan {
  double start = 0;
  double end = 0;

  double length() const { return end - start; }
  /// This span moved and stretched into 0..`duration`, at least `minimumDuration` long where the duration
  /// allows; 0..0 if the duration is not valid.
  TimelineSpan normalized(double duration, double minimumDuration) const;

  friend bool operator==(const TimelineSpan&, const TimelineSpan&) = default;
};

/// A duration that operations on the timeline accept: finite and above zero.
inline bool isValidDuration(double duration) {
  return std::isfinite(duration) && duration > 0;
}

void to_json(Json& json, const TimelineSpan& span);
void from_json(const Json& json, TimelineSpan& span);

}  // namespace quillant
