#pragma once

#include <cstddef>

#include "Core/PixelBuffer.h"
#include "DrawKit/Rendering/FrameMemory.h"

namespace quillant {

/// What the lowest images look like together, kept while they stay the same: areas that show through above
/// them are copied instead of drawn. Without any it is black.
class Ground {
 public:
  Ground(int width, int height) : width_(width), height_(height) {}

  /// How many images it has.
  std::size_t layers() const { return layers_; }
  /// Called once a frame with how many of the lowest images are as they were in the frame before. Answers how
  /// many are to be kept from now on, if another number than are: those that have stayed for a few frames. 0
  /// otherwise.
  std::size_t next(std::size_t unchanged);
  /// Where they are drawn to; then `keep`.
  const PixelBuffer& frame();
  void keep(std::size_t layers) { layers_ = layers; }
  void clear() { layers_ = 0; }
  /// Into `frame`, on even pixels.
  void copy(const PixelRect& area, const PixelBuffer& frame) const;

 private:
  int width_;
  int height_;
  std::size_t layers_ = 0;
  std::size_t candidate_ = 0;
  int stayed_ = 0;
  FrameMemory memory_;
};

}  // namespace quillant
