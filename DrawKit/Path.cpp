#include "DrawKit/Path.h"

#include <algorithm>

namespace quillant {

namespace {

/// A quarter of a circle as one cubic: at most 0.03 % of the radius off.
constexpr double kappa = 0.5522847498307936;

}  // namespace

Path& Path::moveTo(Point to) {
  elements.push_back(Move{to});
  return *this;
}

Path& Path::lineTo(Point to) {
  elements.push_back(Line{to});
  return *this;
}

Path& Path::curveTo(Point control1, Point control2, Point to) {
  elements.push_back(Curve{control1, control2, to});
  return *this;
}

Path& Path::close() {
  elements.push_back(Close{});
  return *this;
}

Path& Path::polygon(std::span<const Point> corners) {
  if (corners.empty()) return *this;
  moveTo(corners.front());
  for (const Point corner : corners.subspan(1)) lineTo(corner);
  return close();
}

Path& Path::rectangle(const Rect& bounds) {
  return moveTo({bounds.x, bounds.y})
      .lineTo({bounds.maxX(), bounds.y})
      .lineTo({bounds.maxX(), bounds.maxY()})
      .lineTo({bounds.x, bounds.maxY()})
      .close();
}

Path& Path::ellipse(const Rect& bounds) {
  const auto [x, y] = bounds.center();
  const double across = bounds.width / 2, down = bounds.height / 2;
  const auto at = [&](double right, double below) { return Point{x + across * right, y + down * below}; };
  return moveTo(at(1, 0))
      .curveTo(at(1, kappa), at(kappa, 1), at(0, 1))
      .curveTo(at(-kappa, 1), at(-1, kappa), at(-1, 0))
      .curveTo(at(-1, -kappa), at(-kappa, -1), at(0, -1))
      .curveTo(at(kappa, -1), at(1, -kappa), at(1, 0))
      .close();
}

Path& Path::roundedRectangle(const Rect& bounds, double radius) {
  const double r = std::clamp(radius, 0.0, std::min(bounds.width, bounds.height) / 2);
  const double left = bounds.x, top = bounds.y, right = bounds.maxX(), bottom = bounds.maxY();
  const double far = r * (1 - kappa);
  return moveTo({left + r, top})
      .lineTo({right - r, top})
      .curveTo({right - far, top}, {right, top + far}, {right, top + r})
      .lineTo({right, bottom - r})
      .curveTo({right, bottom - far}, {right - far, bottom}, {right - r, bottom})
      .lineTo({left + r, bottom})
      .curveTo({left + far, bottom}, {left, bottom - far}, {left, bottom - r})
      .lineTo({left, top + r})
      .curveTo({left, top + far}, {left + far, top}, {left + r, top})
      .close();
}

Path Path::scaled(double factor) const {
  struct Scale {
    double factor;
    Point operator()(Point point) const { return {point.x * factor, point.y * factor}; }
    Element operator()(const Move& move) const { return Move{(*this)(move.to)}; }
    Element operator()(const Line& line) const { return Line{(*this)(line.to)}; }
    Element operator()(const Curve& curve) const {
      return Curve{(*this)(curve.control1), (*this)(curve.control2), (*this)(curve.to)};
    }
    Element operator()(const Close& close) const { return close; }
  };
  Path result;
  result.elements.reserve(elements.size());
  for (const Element& element : elements)
    result.elements.push_back(std::visit([&](const auto& part) { return Scale{factor}(part); }, element));
  return result;
}

}  // namespace quillant
