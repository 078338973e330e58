#pragma once

#include "Core/Geometry.h"

namespace quillant {

/// Moves a point (x, y) to (a·x + c·y + tx, b·x + d·y + ty).
struct AffineTransform {
  double a = 1;
  double b = 0;
  double c = 0;
  double d = 1;
  double tx = 0;
  double ty = 0;

  static AffineTransform translation(double x, double y) { return {1, 0, 0, 1, x, y}; }
  static AffineTransform scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }

  Point apply(Point point) const { return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty}; }
  /// This first, then `next`.
  AffineTransform then(const AffineTransform& next) const;
  /// Of a transform that is not singular.
  AffineTransform inverse() const;
  double determinant() const { return a * d - b * c; }
  /// Horizontal stays horizontal or becomes vertical: a rectangle stays one.
  bool keepsRectangles() const { return (b == 0 && c == 0) || (a == 0 && d == 0); }
  /// The smallest rectangle around what becomes of `rect`.
  Rect bounds(const Rect& rect) const;

  friend bool operator==(const AffineTransform&, const AffineTransform&) = default;
};

}  // namespace quillant
