#pragma once

#include <cstdint>
#include <vector>

#include "Core/PixelBuffer.h"

namespace quillant::JPEGImage {

/// A BGRA picture as a JPEG file; `quality` from 1, smallest, to 100. Any thread. Throws `MediaError` of kind
/// codec.
std::vector<std::uint8_t> encode(const PixelBuffer& picture, int quality = 85);

}  // namespace quillant::JPEGImage
