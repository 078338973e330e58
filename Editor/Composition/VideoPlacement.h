#pragma once

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"

namespace quillant {

/// Where a file's picture lies on the canvas: the layout of its frames, the same for all of them. Canvas
/// pixels as numbers, origin top left; nothing is rounded.
struct VideoPlacement {
  Rect crop;     ///< What is shown of the upright picture, in its pixels.
  Rect frame;    ///< The panel, or where there is none, the video.
  Rect content;  ///< What the panel leaves to the video.
  Rect drawn;    ///< The video.
  double cornerRadius = 0;
  AffineTransform toCanvas;  ///< From the upright picture.

  static VideoPlacement of(const VideoBackgroundCompositionInstruction& instruction);
};

}  // namespace quillant
