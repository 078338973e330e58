#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Core/PixelBuffer.h"

namespace quillant {

/// The frames of one renderer, used again and again. Each knows where it differs from the newest, so that
/// only that is drawn or copied. One thread; a published frame may be released on any, and may outlive the
/// ring.
class FrameRing {
 public:
  struct Slot;

  FrameRing(int width, int height);
  ~FrameRing();

  /// A frame that nobody holds, with the least to bring up to date. It is like the newest except inside
  /// `fresh`, which is about to be drawn.
  PixelBuffer& begin(const std::vector<PixelRect>& fresh);
  /// Makes what was begun the newest frame, which differs from the one before in `changed`.
  PixelBufferRef publish(const std::vector<PixelRect>& changed);
  /// What was begun cannot be trusted, nor can any other.
  void forget();

 private:
  std::shared_ptr<Slot> acquire();

  PixelRect bounds_;
  std::vector<std::shared_ptr<Slot>> slots_;
  Slot* newest_ = nullptr;
  std::shared_ptr<Slot> begun_;
  std::uint64_t sequence_ = 0;
};

}  // namespace quillant
