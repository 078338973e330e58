#pragma once

#include "Core/PixelBuffer.h"

/// Full-range RGB to planar YUV as the files are tagged: BT.709, limited range, 4:2:0 with chroma sited at
/// the left pixel of its pair and between the two rows.
namespace quillant::ColorConversion {

/// The smallest area of whole chroma samples whose converted values depend on `rect`, inside the picture:
/// what has to be converted anew when `rect` has changed.
PixelRect affectedArea(PixelRect rect, int width, int height);

/// Converts the pixels of `area`, whose edges are even and which lies inside both pictures. A sample's result
/// does not depend on how the picture is cut into areas. Any thread.
void bgraToI420(PixelBuffer::Plane source, const std::array<PixelBuffer::Plane, 3>& target, PixelRect area);

}  // namespace quillant::ColorConversion
