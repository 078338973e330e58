#pragma once

#include <span>
#include <variant>
#include <vector>

#include "Core/Geometry.h"

namespace quillant {

/// An outline of lines and cubic curves, in the units of whoever draws it. Each call continues from where the
/// one before ended, and returns the path itself.
struct Path {
  struct Move {
    Point to;
    friend bool operator==(const Move&, const Move&) = default;
  };
  struct Line {
    Point to;
    friend bool operator==(const Line&, const Line&) = default;
  };
  struct Curve {
    Point control1;
    Point control2;
    Point to;
    friend bool operator==(const Curve&, const Curve&) = default;
  };
  struct Close {
    friend bool operator==(const Close&, const Close&) = default;
  };
  using Element = std::variant<Move, Line, Curve, Close>;

  std::vector<Element> elements;

  Path& moveTo(Point to);
  Path& lineTo(Point to);
  Path& curveTo(Point control1, Point control2, Point to);
  Path& close();
  /// A closed figure of its own: of straight sides, or the ellipse that touches the rectangle's sides.
  Path& polygon(std::span<const Point> corners);
  Path& rectangle(const Rect& bounds);
  Path& ellipse(const Rect& bounds);
  /// Its corners are circles' quarters, of at most half the shorter side.
  Path& roundedRectangle(const Rect& bounds, double radius);

  Path scaled(double factor) const;
  friend bool operator==(const Path&, const Path&) = default;
};

}  // namespace quillant
