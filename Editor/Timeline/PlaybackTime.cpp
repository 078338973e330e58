#include "Editor/Timeline/PlaybackTime.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>

#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

std::string formatPlaybackTime(double seconds) {
  // What misses a whole second only by rounding is that second.
  constexpr double longest = 1e15;
  const double whole = std::isfinite(seconds) ? std::floor(seconds + placingTolerance) : 0;
  const auto total = static_cast<std::int64_t>(std::clamp(whole, 0.0, longest));
  const auto hours = total / 3600, minutes = total / 60 % 60, rest = total % 60;
  return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, minutes, rest)
                   : fmt::format("{}:{:02}", minutes, rest);
}

}  // namespace quillant
