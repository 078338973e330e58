#pragma once

#include <optional>
#include <variant>

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Core/SerializableColor.h"

namespace quillant {

/// What one thing looks like on a canvas, as a description: a source and what is done to it. A small value,
/// cheap to make every frame; `Renderer` draws a list of them, each over those before it.
///
/// Coordinates are pixels, origin top left, y down. Pixel (i, j) is the square from (i, j) to (i + 1, j + 1),
/// its sample stands for the middle of it. An edge between pixels is blended.
///
/// Every operation returns a new description. They concatenate: whatever the number of transforms, a sample
/// of the source is resampled once.
struct Image {
  /// How an image goes on beyond its edges while it is blurred.
  enum class BlurEdges {
    fading,    ///< Transparent: the blur spreads beyond the edges, as a shadow does.
    extended,  ///< Its outermost samples go on; the result is cut to where the image was, as a backdrop
               ///< needs.
  };

  /// A rectangle with elliptic corners, in the source's pixels.
  struct RoundedRect {
    Rect rect;
    double radiusX = 0;  ///< Not more than half the width.
    double radiusY = 0;  ///< Not more than half the height.
    friend bool operator==(const RoundedRect&, const RoundedRect&) = default;
  };

  /// A picture of any format; its own pixels are its coordinates. `premultipliedBGRA` keeps its transparency,
  /// all others are opaque.
  static Image picture(PixelBufferRef picture);
  /// A flat colour that fills `extent`.
  static Image flat(const SerializableColor& color, const Rect& extent);

  /// Keeps what is inside `rect`, in the present coordinates. No sample outside of it is looked at: at its
  /// edges the nearest sample inside is repeated.
  Image cropped(const Rect& rect) const;
  /// Moves it. A singular transform, or one that is not finite, leaves nothing to see.
  Image transformed(const AffineTransform& transform) const;
  /// Keeps what is inside `rect` (present coordinates) with corners of `radius`, at most half the shorter
  /// side. Unlike a crop it only hides, and the samples beyond it still count in what is resampled, so it may
  /// move from frame to frame. An image has one such mask: a second one replaces the first.
  Image rounded(const Rect& rect, double radius) const;
  /// Blurs it by a Gaussian whose standard deviation is `sigma` present pixels; 0 or less changes nothing. A
  /// transform that follows scales the blur with the picture. An image is blurred once.
  Image blurred(double sigma, BlurEdges edges) const;
  /// Multiplies what it covers by `opacity`, 0 to 1.
  Image faded(double opacity) const;

  /// Where it may show on an unbounded canvas, with all that a blur spreads; empty if nowhere.
  Rect bounds() const;

  // The description itself. Crops and masks are in the source's own pixels (a colour's are those of its
  // extent). They come before the blur. `cropped` and `rounded` ask for a transform so far that keeps
  // rectangles, and for no blur so far.
  std::variant<PixelBufferRef, SerializableColor> source;
  Rect crop;
  std::optional<RoundedRect> mask;
  AffineTransform toCanvas;
  double blurX = 0;  ///< Standard deviations in pixels of the canvas, after all transforms.
  double blurY = 0;
  BlurEdges blurEdges = BlurEdges::fading;
  double opacity = 1;

  friend bool operator==(const Image&, const Image&) = default;
};

}  // namespace quillant
