#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace quillant {

/// At most 255 colours that stand for all of a picture, chosen by median cut, and the nearest of them for any
/// other. Colours are 0xAARRGGBB, as BGRA lies in memory; alpha is ignored. One thread at a time.
class ColorPalette {
 public:
  static constexpr std::size_t capacity = 255;

  /// Of every `step`th pixel.
  explicit ColorPalette(std::span<const std::uint32_t> pixels, std::size_t step);

  std::span<const std::uint32_t> colors() const { return colors_; }
  std::uint8_t nearest(std::uint32_t pixel);
  /// The mean of the squared differences of all channels, over every `step`th pixel.
  double error(std::span<const std::uint32_t> pixels, std::size_t step);

 private:
  std::vector<std::uint32_t> colors_;
  std::vector<std::int16_t> known_;  ///< By the upper six bits of each channel; -1 where nobody asked yet.
};

}  // namespace quillant
