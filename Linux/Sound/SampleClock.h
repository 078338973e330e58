#pragma once

#include <cstdint>

#include "Core/MediaTime.h"

namespace quillant {

/// Gives the buffers of one stream their times: each follows the one before without a gap or an overlap,
/// while the whole follows what the device's latency says, however much single measurements jitter.
///
/// A step that several measurements agree on is one that happened, and is taken at once. Belongs to one
/// thread.
class SampleClock {
 public:
  explicit SampleClock(int sampleRate) : sampleRate_(sampleRate) {}

  /// The time of the next `frameCount` samples, whose first was captured at `measured` as far as the latency
  /// tells; both on the host clock.
  MediaTime stamp(int frameCount, MediaTime measured);

 private:
  int sampleRate_;
  std::int64_t next_ = 0;  // nanoseconds, like all below
  int measurements_ = 0;   // since the last step
  int outliers_ = 0;       // in a row
};

}  // namespace quillant
