#pragma once

#include <cstdint>
#include <vector>

#include "MediaKit/PixelBuffer.h"

namespace quillant {

/// The picture that the encoder sees: planar YUV that lasts from frame to frame, so that only what a source
/// says has changed is converted, and the map of the macroblocks that stayed as they were.
///
/// Belongs to the encoder's thread. Every picture taken must be encoded: the map tells the difference from
/// the picture taken before.
class EncoderPicture {
 public:
  EncoderPicture(int width, int height);

  /// Takes over `buffer`, which has this picture's size. Returns the number of pixels that were converted.
  std::uint64_t take(const PixelBuffer& buffer);

  const std::array<PixelBuffer::Plane, 3>& planes() const { return planes_; }
  /// One byte a macroblock of 16 by 16 pixels, row by row: 1 where nothing changed.
  const std::vector<std::uint8_t>& constantBlocks() const { return constant_; }
  /// Whether the picture taken last differs from the one before, as far as its source told.
  bool changed() const { return changed_; }

 private:
  void takeRect(const PixelBuffer& buffer, PixelRect area);

  int width_;
  int height_;
  int blockColumns_;
  std::vector<std::uint8_t> memory_;
  std::array<PixelBuffer::Plane, 3> planes_{};
  std::vector<std::uint8_t> constant_;
  std::uint64_t sequence_ = 0;
  bool changed_ = true;
};

}  // namespace quillant
