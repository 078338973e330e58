#pragma once

#include "Core/Geometry.h"

/// Where and how large the cursor comes onto a canvas, in canvas pixels, origin top left.
namespace quillant::CursorOverlayGeometry {

/// Canvas pixels a source pixel, when the crop is fitted into the content's rectangle. 0 where a size is not
/// finite or not positive; a crop may be given from any of its corners.
double displayScale(const Rect& contentRect, const Rect& cropRect);

/// The size to draw a glyph at: at size 1 a cursor is as high as 20 source pixels. At least 1.
double glyphSize(double displayScale, double size);

/// What a cursor is placed by.
struct Placement {
  Rect contentRect;     ///< The part of the canvas that shows the recording.
  Rect cropRect;        ///< The part of the picture that is shown.
  Size normalizedSize;  ///< The whole picture's, upright, in the crop's pixels.
  Size trackSize;       ///< The space of the track's positions.
  Size canvasSize;
};

/// The place of the glyph's tip for a position of the track. Outside the canvas it is pinned to the edge.
Point tip(const Placement& placement, Point trackPoint);

}  // namespace quillant::CursorOverlayGeometry
