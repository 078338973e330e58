#pragma once

#include <memory>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Core/SerializableColor.h"
#include "DrawKit/Path.h"

namespace quillant {

/// A shadow as light from a large lamp throws it.
struct Shadow {
  Point offset;     ///< Pixels, right and down.
  double blur = 0;  ///< Pixels over which its edge fades: twice the standard deviation of a Gaussian.
  SerializableColor color;
};

/// Draws onto a picture of its own, each thing over what is there. Coordinates are pixels, origin top left, y
/// down; edges are smoothed. One thread at a time.
class Canvas {
 public:
  static constexpr int longestSide = 8192;

  /// Transparent. Throws `DrawingError` where a side is not in 1...longestSide.
  Canvas(int width, int height);
  ~Canvas();

  /// Moves the origin of all paths to come.
  void translate(double right, double down);
  /// What a path winds around counts as inside, however often; open figures are closed by a straight line.
  void fill(const Path& path, const SerializableColor& color);
  /// A line along the path with round joins and round ends.
  void stroke(const Path& path, const SerializableColor& color, double lineWidth);
  /// A premultiplied picture; its top left corner comes to `corner`, wherever the origin was moved to.
  void draw(const PixelBuffer& picture, Point corner);
  /// Under everything drawn so far, the shadow of all of it as one body.
  void castShadow(const Shadow& shadow);

  /// The finished picture, premultiplied BGRA in sRGB without gaps between its rows. Throws `DrawingError` if
  /// any of the drawing failed.
  PixelBufferRef take() &&;

 private:
  struct Surface;
  std::unique_ptr<Surface> surface_;
};

}  // namespace quillant
