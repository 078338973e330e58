#pragma once

#include <mutex>
#include <optional>

#include "Core/MediaTime.h"
#include "Core/Signal.h"

namespace quillant {

/// Takes paused time out of time stamps. One clock is shared by every writer of a session and by the cursor
/// recorder, so that all of them stay in step through a pause.
///
/// All times are host-clock times. Safe on any thread: the lock is held for a comparison and a subtraction.
class PauseClock {
 public:
  /// Opens a pause at `now`; nothing if one is open.
  void pause(MediaTime now);
  /// Closes the open pause at `now`; nothing if there is none.
  void resume(MediaTime now);
  bool isPaused() const;

  /// `time` without the closed pauses before it. Nothing while paused, nor for a time inside the latest
  /// pause: a sample that was taken then is dropped, however late it comes.
  std::optional<MediaTime> adjust(MediaTime time) const;
  /// Called with the end of a pause when it is closed, on the thread that closed it.
  Signal<MediaTime>& resumed() { return resumed_; }

  /// How long the recording has been paused in all, a pause that is still open at `now` included.
  MediaTime pausedTime(MediaTime now) const;

 private:
  Signal<MediaTime> resumed_;
  mutable std::mutex lock_;
  bool paused_ = false;
  MediaTime pauseStart_ = MediaTime::invalid();  ///< Of the latest pause, open or closed.
  MediaTime pauseEnd_ = MediaTime::invalid();    ///< Of the latest closed pause.
  MediaTime accumulatedOffset_ = MediaTime::zero();
};

}  // namespace quillant
