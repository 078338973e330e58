#pragma once

#include "Core/PixelBuffer.h"

namespace quillant {

/// Somebody before a camera, 1360 by 800 pixels: somewhat more than a camera of 1280 by 720 shows, so that
/// one can sway.
PixelBufferRef portrait();

}  // namespace quillant
