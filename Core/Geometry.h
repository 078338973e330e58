#pragma once

#include "Core/JSONForward.h"

namespace quillant {

// Plain geometry in 64-bit floats. The unit and the origin are the owner's to say.

struct Point {
  double x = 0;
  double y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
  double width = 0;
  double height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  Point center() const { return {x + width / 2, y + height / 2}; }
  /// The far edges are outside.
  bool contains(Point point) const {
    return point.x >= x && point.x < maxX() && point.y >= y && point.y < maxY();
  }
  friend bool operator==(const Rect&, const Rect&) = default;
};

/// As an object of x, y, width and height, all required.
void to_json(Json& json, const Rect& rect);
void from_json(const Json& json, Rect& rect);

}  // namespace quillant
