#pragma once

#include "Core/MediaTime.h"

/// The clock that stamps every sample: `CLOCK_MONOTONIC`, in nanoseconds. The X server's time and the sound
/// server's monotonic time run on the same clock.
namespace quillant::HostClock {

MediaTime now();

}  // namespace quillant::HostClock
