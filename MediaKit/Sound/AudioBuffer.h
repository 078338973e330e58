#pragma once

#include <vector>

#include "Core/MediaTime.h"

namespace quillant {

/// A stretch of uncompressed sound: 32-bit float, interleaved, full scale at 1.
struct AudioBuffer {
  MediaTime time;  ///< Of the first sample; the host clock as captured, the recording's after retiming.
  int sampleRate = 48'000;
  int channels = 1;
  std::vector<float> samples;  ///< `channels` values a frame.

  int frameCount() const { return static_cast<int>(samples.size()) / channels; }
};

}  // namespace quillant
