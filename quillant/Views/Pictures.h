#pragma once

#include <QImage>

#include "Core/PixelBuffer.h"

/// From the pictures of the rest of the program to Qt's.
namespace quillant::Pictures {

/// Shares the memory of a BGRA picture; null of a null one.
QImage image(const PixelBufferRef& picture);

}  // namespace quillant::Pictures
