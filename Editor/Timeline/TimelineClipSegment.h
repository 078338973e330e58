#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace quillant {

/// A stretch of the recording between two neighbouring split times, in source seconds.
struct TimelineClipSegment {
  std::int64_t index = 0;
  double start = 0;
  double end = 0;
  double speed = 1;

  /// The segments of a recording in order. Split times may come in any order; those that are as good as one
  /// another or as an end of the recording count once. Speeds are by index and are normalised.
  static std::vector<TimelineClipSegment> segments(double duration, const std::vector<double>& splitTimes,
                                                   const std::map<std::int64_t, double>& clipSpeeds);

  friend bool operator==(const TimelineClipSegment&, const TimelineClipSegment&) = default;
};

}  // namespace quillant
