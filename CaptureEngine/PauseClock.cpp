#include "CaptureEngine/PauseClock.h"

namespace quillant {

void PauseClock::pause(MediaTime now) {
  const std::lock_guard guard(lock_);
  if (paused_) return;
  paused_ = true;
  pauseStart_ = now;
}

void PauseClock::resume(MediaTime now) {
  {
    const std::lock_guard guard(lock_);
    if (!paused_ || !pauseStart_.isValid()) return;
    accumulatedOffset_ = accumulatedOffset_ + (now - pauseStart_);
    paused_ = false;
    pauseEnd_ = now;
  }
  resumed_.emit(now);
}

bool PauseClock::isPaused() const {
  const std::lock_guard guard(lock_);
  return paused_;
}

std::optional<MediaTime> PauseClock::adjust(MediaTime time) const {
  const std::lock_guard guard(lock_);
  if (paused_) return std::nullopt;
  if (time < pauseEnd_) {
    if (time > pauseStart_) return std::nullopt;
    return time - (accumulatedOffset_ - (pauseEnd_ - pauseStart_));
  }
  return time - accumulatedOffset_;
}

MediaTime PauseClock::pausedTime(MediaTime now) const {
  const std::lock_guard guard(lock_);
  return paused_ ? accumulatedOffset_ + (now - pauseStart_) : accumulatedOffset_;
}

}  // namespace quillant
