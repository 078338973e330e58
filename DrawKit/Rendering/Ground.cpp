#include "DrawKit/Rendering/Ground.h"

#include <cstddef>
#include <cstring>

namespace quillant {

namespace {

/// Frames through which more images must have stayed before they are drawn once more, to be kept: a video
/// that is slower than the frames stands still for one or two.
constexpr int framesToStay = 4;
constexpr int black[] = {16, 128, 128};

}  // namespace

std::size_t Ground::next(std::size_t unchanged) {
  if (unchanged < layers_) layers_ = 0;
  stayed_ = unchanged == candidate_ ? stayed_ + 1 : 0;
  candidate_ = unchanged;
  return candidate_ > layers_ && stayed_ == framesToStay ? candidate_ : 0;
}

const PixelBuffer& Ground::frame() {
  if (!memory_.bytes) memory_ = FrameMemory(width_, height_);
  return memory_.frame;
}

void Ground::copy(const PixelRect& area, const PixelBuffer& frame) const {
  if (layers_ > 0) return copyArea(memory_.frame, frame, area);
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shift = plane == 0 ? 0 : 1;
    for (int y = area.y >> shift; y < (area.y + area.height) >> shift; ++y)
      std::memset(
          frame.planes[plane].data + std::ptrdiff_t{frame.planes[plane].stride} * y + (area.x >> shift),
          black[plane], static_cast<std::size_t>(area.width >> shift));
  }
}

}  // namespace quillant
