#include "CaptureEngine/AudioLevelMeter.h"

#include <algorithm>
#include <cmath>

namespace quillant {

void AudioLevelMeter::add(const AudioBuffer& buffer) {
  float peak = 0;
  for (const float sample : buffer.samples) peak = std::max(peak, std::abs(sample));
  const std::lock_guard lock(lock_);
  ++reading_.bufferCount;
  reading_.peak = std::max(reading_.peak, peak);
}

AudioLevelMeter::Reading AudioLevelMeter::reading() const {
  const std::lock_guard lock(lock_);
  return reading_;
}

}  // namespace quillant
