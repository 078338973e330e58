#pragma once

#include "CaptureEngine/CaptureResolution.h"

namespace quillant {

/// The size of a recording's picture in pixels: both sides even, as the encoder's chroma needs them.
struct OutputDimensions {
  int width = 2;
  int height = 2;

  friend bool operator==(const OutputDimensions&, const OutputDimensions&) = default;
};

/// By what a source of so many pixels is scaled; never above 1.
double outputScale(CaptureResolution resolution, double sourceWidth, double sourceHeight);

/// The picture's size for a source of so many pixels: scaled, then rounded down to even sides of at least 2.
/// A source may be a fraction of a pixel wide where it was given in points; a size that lies within a
/// millionth of a whole pixel counts as whole, so that 2148 by 1080 is 1920 wide at `p1080`.
OutputDimensions outputDimensions(CaptureResolution resolution, double sourceWidth, double sourceHeight);

}  // namespace quillant
