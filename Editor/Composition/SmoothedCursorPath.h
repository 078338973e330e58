#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "CaptureEngine/Telemetry/CursorTelemetryPayload.h"
#include "Core/Geometry.h"

namespace quillant {

/// A pointer's track without the jitter of the hand, still exactly on every click. Positions are in the
/// track's space, times in milliseconds of its clock. Immutable once built; any thread.
struct SmoothedCursorPath {
  /// The recorded position at a time, read off the samples.
  using RawTrack = std::function<Point(double milliseconds)>;

  /// None where there is nothing to smooth: `smoothing` below 0.01 (2 is the most that counts), times that
  /// are not finite or not in order, or a track longer than a day, whose path would fill the memory. Clicks
  /// may come in any order; of two at one time the later entry counts.
  static std::optional<SmoothedCursorPath> build(double startMs, double endMs, double smoothing,
                                                 const std::vector<CursorTelemetryClick>& clicks,
                                                 const RawTrack& raw);

  double startMs = 0;  ///< The first sample's time, and the last one's.
  double endMs = 0;
  std::vector<double> xs;  ///< On a grid of 240 points a second from `startMs`; the last point is at `endMs`.
  std::vector<double> ys;
  std::vector<double> clickTimes;   ///< Rising, each once, none outside the path.
  std::vector<Point> clickOffsets;  ///< From the raw track to the click, one a click time.
  double clickReachMs = 0;          ///< How far a click pulls the path to itself, on either side.

  /// `milliseconds` is finite, `raw` the recorded position at that time. Times outside count as the nearest
  /// end.
  Point point(double milliseconds, Point raw) const;
};

}  // namespace quillant
