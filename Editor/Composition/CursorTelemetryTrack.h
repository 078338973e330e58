#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Core/Geometry.h"

namespace quillant {

/// A recording's pointer, ready to be asked where it was. Read-only after construction; any thread.
struct CursorTelemetryTrack {
  /// Entries in the order of their times: a file that breaks its contract is sorted here, once.
  explicit CursorTelemetryTrack(CursorTelemetryPayload payload);

  std::int64_t width = 0;  ///< Of the space of all positions.
  std::int64_t height = 0;
  std::vector<CursorTelemetrySample> samples;
  std::vector<CursorTelemetryClick> clicks;

  /// The last recorded position at or before a time, as fractions 0...1 of the space, origin top left. Times
  /// before the first sample count as its time; none without samples or for a time that is not finite.
  std::optional<Point> normalizedPointAtOrBefore(double seconds) const;
};

}  // namespace quillant
