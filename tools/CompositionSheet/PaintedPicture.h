#pragma once

#include <functional>

#include "Core/PixelBuffer.h"
#include "Core/SerializableColor.h"

namespace quillant::PaintedPicture {

/// The colour at a place of a picture, in pixels from its top left.
using Painter = std::function<SerializableColor(double x, double y)>;

/// A picture as a decoder might give it, in any format and encoding.
PixelBufferRef paint(int width, int height, PixelFormat format, const ColorEncoding& encoding,
                     const Painter& painter);

/// A desktop with windows, fine lines and colours, all of whose corners differ.
Painter desktop(int width, int height);
/// A face before a wall, more or less; its upper left corner is red.
Painter person(int width, int height);

/// A finished frame as BGRA, to look at.
PixelBufferRef toBGRA(const PixelBuffer& i420);

}  // namespace quillant::PaintedPicture
