#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "Core/PixelBuffer.h"

namespace quillant {

/// The picture that the encoder sees: planar YUV, and the map of the macroblocks that stayed as they were.
/// Every picture made must be encoded, in order: the map tells the difference from the one made before.
struct EncoderPicture {
  static constexpr int blockSize = 16;
  /// How many macroblocks so many pixels are, along one side.
  static constexpr std::size_t blocks(int pixels) {
    return static_cast<std::size_t>((pixels + blockSize - 1) / blockSize);
  }

  std::array<PixelBuffer::Plane, 3> planes{};
  /// One byte a macroblock of 16 by 16 pixels, row by row: 1 where nothing changed.
  std::vector<std::uint8_t> constantBlocks;
  bool changed = true;  ///< Whether it differs from the one before, as far as its source told.
};

using EncoderPictureRef = std::shared_ptr<const EncoderPicture>;

}  // namespace quillant
