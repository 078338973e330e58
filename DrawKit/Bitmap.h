#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillant {

/// A picture in memory: sRGB, 8 bits a channel, colours multiplied by their alpha.
struct Bitmap {
  Bitmap() = default;
  /// Transparent. The sides are not negative.
  Bitmap(int width_, int height_)
      : width(width_), height(height_), pixels(static_cast<std::size_t>(width_) * height_) {}

  int width = 0;
  int height = 0;
  /// 0xAARRGGBB as numbers, rows from the top, each from the left, without gaps.
  std::vector<std::uint32_t> pixels;

  std::uint32_t& at(int x, int y) { return pixels[static_cast<std::size_t>(y) * width + x]; }
  std::uint32_t at(int x, int y) const { return pixels[static_cast<std::size_t>(y) * width + x]; }
  friend bool operator==(const Bitmap&, const Bitmap&) = default;
};

}  // namespace quillant
