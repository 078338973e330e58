#include "Core/AffineTransform.h"

#include <algorithm>

namespace quillant {

AffineTransform AffineTransform::then(const AffineTransform& next) const {
  return {next.a * a + next.c * b,
          next.b * a + next.d * b,
          next.a * c + next.c * d,
          next.b * c + next.d * d,
          next.a * tx + next.c * ty + next.tx,
          next.b * tx + next.d * ty + next.ty};
}

AffineTransform AffineTransform::inverse() const {
  const double scale = 1 / determinant();
  const AffineTransform turned{d * scale, -b * scale, -c * scale, a * scale, 0, 0};
  const Point back = turned.apply({tx, ty});
  return {turned.a, turned.b, turned.c, turned.d, -back.x, -back.y};
}

Rect AffineTransform::bounds(const Rect& rect) const {
  const Point corners[] = {apply({rect.x, rect.y}), apply({rect.maxX(), rect.y}),
                           apply({rect.x, rect.maxY()}), apply({rect.maxX(), rect.maxY()})};
  const auto [left, right] = std::ranges::minmax(corners, {}, &Point::x);
  const auto [top, bottom] = std::ranges::minmax(corners, {}, &Point::y);
  return {left.x, top.y, right.x - left.x, bottom.y - top.y};
}

}  // namespace quillant
