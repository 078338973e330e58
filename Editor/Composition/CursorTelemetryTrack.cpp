#include "Editor/Composition/CursorTelemetryTrack.h"

#include <algorithm>
#include <cmath>

#include "Editor/Timeline/SortByStart.h"

namespace quillant {

CursorTelemetryTrack::CursorTelemetryTrack(CursorTelemetryPayload payload)
    : width(payload.width),
      height(payload.height),
      samples(std::move(payload.samples)),
      clicks(std::move(payload.clicks)) {
  sortByStart(samples, &CursorTelemetrySample::timestamp);
  sortByStart(clicks, &CursorTelemetryClick::timestamp);
}

std::optional<Point> CursorTelemetryTrack::normalizedPointAtOrBefore(double seconds) const {
  if (samples.empty() || !std::isfinite(seconds)) return std::nullopt;
  const auto time = [](const CursorTelemetrySample& sample) { return static_cast<double>(sample.timestamp); };
  const double milliseconds = std::max(seconds * 1000, time(samples.front()));
  const auto next = std::ranges::upper_bound(samples, milliseconds, {}, time);
  const auto& sample = *std::prev(next);
  const auto fraction = [](std::int64_t position, std::int64_t side) {
    return std::clamp(static_cast<double>(position) / static_cast<double>(std::max<std::int64_t>(side, 1)),
                      0.0, 1.0);
  };
  return Point{fraction(sample.x, width), fraction(sample.y, height)};
}

}  // namespace quillant
