#pragma once

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"

namespace quillant {

/// A decoded picture, upright with its corner at the origin and as large as its track says. `size` is the
/// upright track's; where it is 0 by 0, the picture's own counts.
Image uprightPicture(const PixelBufferRef& picture, const AffineTransform& preferredTransform,
                     const Size& size);

}  // namespace quillant
