#pragma once

#include <optional>
#include <string_view>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"

namespace quillant {

/// A cursor, drawn. Pixels, origin top left.
struct CursorRenderedGlyph {
  PixelBufferRef image;  ///< Premultiplied.
  Size canvasSize;       ///< The glyph's with its margin; the image is this, cut to whole pixels.
  Point hotspot;         ///< What lies on the recorded position, between pixels as it comes.
};

/// Draws the cursors of the registry. Any thread.
namespace CursorStyleRenderer {

/// The glyph of a style that is `size` pixels high, about; a size below 1 counts as 1. None for an id that is
/// not in the registry, and for a size beyond what a canvas can hold. Worth keeping: it is drawn afresh.
std::optional<CursorRenderedGlyph> renderedGlyph(std::string_view styleID, double size);

}  // namespace CursorStyleRenderer
}  // namespace quillant
