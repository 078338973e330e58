#include "DrawKit/Image.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <utility>

namespace quillant {

namespace {

/// Beyond this many standard deviations nothing of a Gaussian is left in 8 bits.
constexpr double reachOfBlur = 4;
constexpr double largestSigma = 1e5;

Rect intersection(const Rect& left, const Rect& right) {
  const double x = std::max(left.x, right.x), y = std::max(left.y, right.y);
  return {x, y, std::max(0.0, std::min(left.maxX(), right.maxX()) - x),
          std::max(0.0, std::min(left.maxY(), right.maxY()) - y)};
}

}  // namespace

Image Image::picture(PixelBufferRef picture) {
  const Rect extent{0, 0, static_cast<double>(picture->width), static_cast<double>(picture->height)};
  return {.source = std::move(picture), .crop = extent};
}

Image Image::flat(const SerializableColor& color, const Rect& extent) {
  return {.source = color, .crop = extent};
}

Image Image::cropped(const Rect& rect) const {
  assert(toCanvas.keepsRectangles() && blurX == 0 && blurY == 0);
  Image result = *this;
  result.crop = intersection(crop, toCanvas.inverse().bounds(rect));
  return result;
}

Image Image::transformed(const AffineTransform& transform) const {
  Image result = *this;
  const double determinant = transform.determinant();
  if (!std::isfinite(determinant + transform.tx + transform.ty) || determinant == 0) {
    result.crop = {};
    return result;
  }
  result.toCanvas = toCanvas.then(transform);
  result.blurX = std::hypot(transform.a * blurX, transform.c * blurY);
  result.blurY = std::hypot(transform.b * blurX, transform.d * blurY);
  return result;
}

Image Image::rounded(const Rect& rect, double radius) const {
  assert(toCanvas.keepsRectangles() && blurX == 0 && blurY == 0);
  Image result = *this;
  const AffineTransform back = toCanvas.inverse();
  const double limited = std::clamp(radius, 0.0, std::max(0.0, std::min(rect.width, rect.height) / 2));
  const Rect scaled = back.bounds({0, 0, limited, limited});
  result.mask = RoundedRect{back.bounds(rect), scaled.width, scaled.height};
  return result;
}

Image Image::blurred(double sigma, BlurEdges edges) const {
  if (!(sigma > 0)) return *this;
  // Beyond this nothing is left of any picture.
  sigma = std::min(sigma, largestSigma);
  Image result = *this;
  result.blurX = result.blurY = sigma;
  result.blurEdges = edges;
  return result;
}

Image Image::faded(double by) const {
  Image result = *this;
  result.opacity *= std::clamp(by, 0.0, 1.0);
  return result;
}

Rect Image::bounds() const {
  const Rect visible = mask ? intersection(crop, mask->rect) : crop;
  if (!(visible.width > 0 && visible.height > 0)) return {};
  Rect result = toCanvas.bounds(visible);
  if (blurEdges == BlurEdges::fading) {
    result.x -= reachOfBlur * blurX, result.width += 2 * reachOfBlur * blurX;
    result.y -= reachOfBlur * blurY, result.height += 2 * reachOfBlur * blurY;
  }
  return result;
}

}  // namespace quillant
