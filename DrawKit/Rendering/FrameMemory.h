#pragma once

#include "Core/PixelBuffer.h"
#include "DrawKit/Rendering/PlaneBytes.h"

namespace quillant {

/// A frame with memory for its planes.
struct FrameMemory {
  FrameMemory() = default;
  FrameMemory(int width, int height);

  PixelBuffer frame;
  PlaneBytes bytes;
};

/// Copies an area on even pixels from one frame to the other.
void copyArea(const PixelBuffer& from, const PixelBuffer& to, const PixelRect& area);

}  // namespace quillant
