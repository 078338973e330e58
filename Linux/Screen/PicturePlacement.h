#pragma once

#include "Core/PixelBuffer.h"

namespace quillant {

/// Where a source's picture lies in the delivered one: from its top left on, the rest is black.
struct PicturePlacement {
  int sourceWidth = 0;
  int sourceHeight = 0;
  int width = 0;  ///< Of the source's picture in the delivered one.
  int height = 0;
  /// Sizes that differ by less than two pixels are no reason to resample: what is too much is cut off.
  bool isScaled() const;

  /// At the start of a stream: the source fills the delivered picture, as far as it has the same shape.
  static PicturePlacement filling(int sourceWidth, int sourceHeight, int outputWidth, int outputHeight);
  /// The same stream with a source of another size: as large as it was at the start, or smaller where it
  /// would not fit. The pointer's track is mapped by the same rule.
  PicturePlacement forSource(int otherWidth, int otherHeight) const;

  /// The even part of the delivered picture that shows `rect` of the source, all that resampling blends with
  /// it included.
  PixelRect delivered(const PixelRect& rect) const;
};

}  // namespace quillant
