#pragma once

#include <cstdint>
#include <vector>

#include "Core/PixelBuffer.h"

namespace quillant {

/// A pixel of a BGRA picture as 0xAARRGGBB.
inline std::uint32_t pixelAt(const PixelBuffer& picture, int x, int y) {
  const auto* bytes = picture.planes[0].data + std::ptrdiff_t{picture.planes[0].stride} * y + 4 * x;
  return bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
         std::uint32_t{bytes[3]} << 24;
}

inline std::vector<std::uint32_t> pixelsOf(const PixelBuffer& picture) {
  std::vector<std::uint32_t> pixels;
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x) pixels.push_back(pixelAt(picture, x, y));
  return pixels;
}

}  // namespace quillant
