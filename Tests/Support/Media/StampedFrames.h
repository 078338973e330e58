#pragma once

#include <cstdint>

#include "Core/PixelBuffer.h"

namespace quillant {

/// Pictures that carry their number: torn, repeated, lost and reordered frames show themselves after
/// decoding.
namespace StampedFrames {

/// A BGRA picture, at least 128 by 32, whose every pixel moves with `index`. Tells nothing about changes.
PixelBufferRef moving(int width, int height, std::uint32_t index);

/// A picture that differs from the one before only in its stamp and in a block of noise, `region` pixels wide
/// and high, that has moved on: and says so. The sequence is `index` + 1.
PixelBufferRef mostlyStill(int width, int height, std::uint32_t index, int region = 32);

/// A picture of noise, which no encoder likes. Tells nothing about changes.
PixelBufferRef noise(int width, int height, std::uint32_t index);

/// The number in a decoded picture, from its luma plane. Only the low 16 bits of an index are kept. `block`
/// is the side of a bit in pixels, if the picture was scaled.
std::uint32_t read(const std::uint8_t* luma, int stride, int block = 8);

}  // namespace StampedFrames
}  // namespace quillant
