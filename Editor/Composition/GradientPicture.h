#pragma once

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Editor/Project/BackgroundStyle.h"

/// Gradients as pictures, by the rules of style sheets.
namespace quillant::GradientPicture {

/// Where a gradient over a rectangle begins and ends: its line goes through the middle, and the colours at
/// its ends are exactly those of two corners.
struct Endpoints {
  Point start;
  Point end;
  friend bool operator==(const Endpoints&, const Endpoints&) = default;
};
Endpoints endpoints(const LinearGradient& gradient, const Rect& rect);

/// From the centre to the farthest corner.
double radialRadius(const RadialGradient& gradient, const Rect& rect);

/// `width` by `height` pixels, at least 1 each: BGRA, premultiplied where a stop is not opaque. Before the
/// first stop and beyond the last their colours go on; without stops it is black. Dithered by less than one
/// step of a channel, or slow blends would show bands. Throws `DrawingError` for a size beyond what a canvas
/// can hold. Any thread.
PixelBufferRef draw(const GradientPreset& gradient, int width, int height);

}  // namespace quillant::GradientPicture
