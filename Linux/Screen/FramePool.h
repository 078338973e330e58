#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "Core/PixelBuffer.h"
#include "Linux/Screen/SharedPixels.h"
#include "Linux/Screen/WakeUp.h"

namespace quillant {

/// The pictures of one stream, used again and again. Each knows what has changed since it was written, so
/// that it is brought up to date from the newest one instead of from the server.
///
/// Belongs to the stream's thread. A published buffer may be released on any thread, and may outlive the
/// stream: it keeps the pool.
class FramePool : public std::enable_shared_from_this<FramePool> {
 public:
  struct Slot {
    Slot(int width, int height) : pixels(width, height), stale{{0, 0, width, height}} {}
    SharedPixels pixels;
    std::vector<PixelRect> stale;  ///< Where it differs from the newest picture.
    std::atomic<bool> held = false;
  };

  /// `released` is signalled when a buffer comes back after `acquire` found none.
  FramePool(int width, int height, int depth, std::shared_ptr<WakeUp> released);

  PixelRect bounds() const { return bounds_; }
  std::deque<Slot>& slots() { return slots_; }

  /// A picture that nobody else holds, with the least to bring up to date; null while all are held.
  Slot* acquire();
  /// Gives back what was acquired, as it was.
  void putBack(Slot& slot);
  /// Copies from the newest picture what `slot` lacks, except what lies inside one of `fresh`: that is about
  /// to be written anyway.
  void bringUpToDate(Slot& slot, const std::vector<PixelRect>& fresh);
  /// Makes the acquired slot the newest picture, different from the one before in `changed`.
  PixelBufferRef publish(Slot& slot, std::vector<PixelRect> changed);

 private:
  void release(Slot& slot);

  PixelRect bounds_;
  std::shared_ptr<WakeUp> released_;
  std::deque<Slot> slots_;
  Slot* newest_ = nullptr;
  std::uint64_t sequence_ = 0;
  std::atomic<bool> starved_ = false;
};

}  // namespace quillant
