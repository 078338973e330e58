#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Core/Geometry.h"
#include "Editor/Composition/SmoothedCursorPathCache.h"

namespace quillant {

/// A recording's pointer, ready to be asked where it was. Read-only after construction; any thread. Positions
/// are in the track's space, origin top left.
struct CursorTelemetryTrack {
  /// Samples that a file holds in another order than that of their times are sorted here, once.
  explicit CursorTelemetryTrack(CursorTelemetryPayload payload);

  std::int64_t width = 0;  ///< Of the space of all positions.
  std::int64_t height = 0;
  std::vector<CursorTelemetrySample> samples;
  std::vector<CursorTelemetryClick> clicks;
  std::shared_ptr<SmoothedCursorPathCache> smoothedPaths;  ///< Shared by the track's copies.

  /// Where the cursor is drawn. A time outside the samples counts as the nearest of them or, where the track
  /// `loops`, is wrapped into them. None without samples or for a time that is not finite.
  std::optional<Point> point(double seconds, bool loops, double smoothing) const;
  /// Null where the cursor goes along the samples themselves. `smoothing` is brought into 0...2. Built when
  /// it is first asked for, which takes a moment; the answer outlives the track.
  std::shared_ptr<const SmoothedCursorPath> smoothedPath(double smoothing) const;
  /// The last recorded position at or before a time, as fractions 0...1 of the space. Times before the first
  /// sample count as its time; none without samples or for a time that is not finite.
  std::optional<Point> normalizedPointAtOrBefore(double seconds) const;
};

}  // namespace quillant
