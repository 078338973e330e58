#include "DrawKit/Rendering/FrameMemory.h"

#include <cstddef>
#include <cstring>

namespace quillant {

FrameMemory::FrameMemory(int width, int height) {
  constexpr int alignment = 64;
  const int stride = (width + alignment - 1) / alignment * alignment;
  const auto luma = static_cast<std::size_t>(stride) * static_cast<std::size_t>(height);
  bytes = allocatePlaneBytes(luma + luma / 2);
  frame.format = PixelFormat::i420;
  frame.width = width;
  frame.height = height;
  frame.planes = {
      {{bytes.get(), stride}, {bytes.get() + luma, stride / 2}, {bytes.get() + luma + luma / 4, stride / 2}}};
}

void copyArea(const PixelBuffer& from, const PixelBuffer& to, const PixelRect& area) {
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const int shift = plane == 0 ? 0 : 1;
    for (int y = area.y >> shift; y < (area.y + area.height) >> shift; ++y) {
      const auto at = [&](const PixelBuffer& buffer) {
        return buffer.planes[plane].data + std::ptrdiff_t{buffer.planes[plane].stride} * y +
               (area.x >> shift);
      };
      std::memcpy(at(to), at(from), static_cast<std::size_t>(area.width >> shift));
    }
  }
}

}  // namespace quillant
