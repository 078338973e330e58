#pragma once

#include "Core/Geometry.h"
#include "DrawKit/Path.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant {

/// A cursor's outline at a size, before it has colours. All in pixels, origin top left.
struct CursorGlyphDrawing {
  Path path;
  Size canvasSize;
  Point hotspot;  ///< What lies on the recorded position.
  double strokeWidth = 1;
  bool fillsShape = true;

  /// `size` is about the glyph's height in pixels, the style's own scale taken in.
  static CursorGlyphDrawing of(const CursorStyleDefinition& style, double size);
};

}  // namespace quillant
