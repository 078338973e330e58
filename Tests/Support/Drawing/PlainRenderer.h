#pragma once

#include <array>
#include <span>
#include <vector>

#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"

namespace quillant {

/// What `Renderer` is measured by: the same frames, from what its header says, in double precision and with
/// nothing kept, shared or skipped. Slow: for small canvases.
namespace PlainRenderer {

/// One plane of a frame; rows from the top.
struct Plane {
  int width = 0;
  int height = 0;
  std::vector<double> values;  ///< As in 8 bits: 16 is black.

  double& at(int x, int y) { return values[static_cast<std::size_t>(y) * width + x]; }
  double at(int x, int y) const { return values[static_cast<std::size_t>(y) * width + x]; }
};
using Frame = std::array<Plane, 3>;  ///< Y, U, V; chroma at half size both ways, sited left.

/// `images` over one another, the first lowest, on a canvas with even sides.
Frame render(std::span<const Image> images, int width, int height);

/// How near a drawn frame comes to the plain one.
struct Agreement {
  double luma = 0;     ///< Decibels; 100 where nothing differs.
  double chroma = 0;   ///< The worse of the two planes.
  double largest = 0;  ///< The largest difference of a value of any plane.
};
Agreement compare(const PixelBuffer& drawn, const Frame& plain);

}  // namespace PlainRenderer
}  // namespace quillant
