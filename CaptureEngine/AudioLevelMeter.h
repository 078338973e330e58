#pragma once

#include <mutex>

#include "MediaKit/Sound/AudioBuffer.h"

namespace quillant {

/// Remembers how loud a microphone was, so that a silent recording can be detected. Safe on any thread.
class AudioLevelMeter {
 public:
  struct Reading {
    float peak = 0;  ///< Linear, full scale at 1.
    int bufferCount = 0;
  };

  void add(const AudioBuffer& buffer);
  Reading reading() const;

 private:
  mutable std::mutex lock_;
  Reading reading_;
};

}  // namespace quillant
