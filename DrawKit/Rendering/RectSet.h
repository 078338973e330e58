#pragma once

#include <vector>

#include "Core/PixelBuffer.h"

/// Lists of rectangles that do not overlap.
namespace quillant::RectSet {

/// Takes `hole` away. Edges on even pixels stay on even pixels.
void subtract(std::vector<PixelRect>& set, const PixelRect& hole);
/// Adds what `set` lacks of `rect`. A list that gets long becomes the one rectangle around it.
void add(std::vector<PixelRect>& set, const PixelRect& rect);

}  // namespace quillant::RectSet
