#pragma once

#include <cstdint>

#include "Core/PixelBuffer.h"

namespace quillant::TestPictures {

/// Waves, edges and slopes in all planes, different for every `seed` and, within `part`, once more;
/// premultiplied ones have round holes.
PixelBufferRef patterned(PixelFormat format, int width, int height, const ColorEncoding& color = {},
                         int seed = 0, const PixelRect& part = {});

}  // namespace quillant::TestPictures
