#pragma once

#include "Core/PixelBuffer.h"

namespace quillant {

/// Resamples a BGRA picture of `sourceWidth` by `sourceHeight` to `width` by `height`, and writes only the
/// part `clip` of the result (inside it, origin at its top left) to where that part lies in `target`. A pixel
/// is the same whatever part it is written with, but for rounding (by at most 2 of 255). Halves and quarters
/// are averages; other sizes are bilinear.
void scaleBGRA(const PixelBuffer::Plane& source, int sourceWidth, int sourceHeight,
               const PixelBuffer::Plane& target, int width, int height, const PixelRect& clip);

}  // namespace quillant
