#pragma once

#include <cstdint>
#include <vector>

#include "Core/PixelBuffer.h"

/// What to do with lists of rectangles that cover what changed. A result may cover more than what it was made
/// from, never less, and its rectangles may overlap.
namespace quillant::PixelRects {

std::int64_t area(const PixelRect& rect);
/// Empty (all zero) if they do not meet.
PixelRect intersection(const PixelRect& left, const PixelRect& right);
/// The smallest rectangle that holds both.
PixelRect enclosing(const PixelRect& left, const PixelRect& right);
bool contains(const PixelRect& outer, const PixelRect& inner);
PixelRect moved(const PixelRect& rect, int dx, int dy);

/// The same inside `bounds`, with edges on even pixels (as chroma of half the size needs) except where
/// `bounds` itself has an odd one, and as few rectangles as are worth a request each: neighbours are joined,
/// and when most of `bounds` is covered it is `bounds` alone.
std::vector<PixelRect> coalesced(std::vector<PixelRect> rects, const PixelRect& bounds);

}  // namespace quillant::PixelRects
