#include "DrawKit/Rendering/ShapeCoverage.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

/// Of the height of a row in which a corner bends: few where it hardly does. The width of each is exact.
constexpr int slices = 16;
constexpr int fewSlices = 4;
/// What sums of numbers leave is no part of a sample.
constexpr double nearlyWhole = 1e-6;

double snapped(double edge) {
  const double whole = std::round(edge);
  return std::abs(edge - whole) < nearlyWhole ? whole : edge;
}

/// What the square of sample i has of a span.
double overlap(int i, double begin, double end) {
  return std::max(0.0, std::min(i + 1.0, end) - std::max<double>(i, begin));
}

}  // namespace

ShapeCoverage::ShapeCoverage(const Rect& rect, const std::optional<Image::RoundedRect>& mask,
                             const Rect& canvas, double opacity)
    : canvas_(canvas), opacity_(static_cast<std::int16_t>(std::lround(opacity * 32767))) {
  const double far = 1e6;
  double left = snapped(std::max(rect.x, -far)), top = snapped(std::max(rect.y, -far));
  double right = snapped(std::min(rect.maxX(), far)), bottom = snapped(std::min(rect.maxY(), far));
  if (mask) {
    mask_ = {snapped(mask->rect.x), snapped(mask->rect.y), 0, 0};
    mask_.width = snapped(mask->rect.maxX()) - mask_.x;
    mask_.height = snapped(mask->rect.maxY()) - mask_.y;
    radiusX_ = mask->radiusX;
    radiusY_ = mask->radiusY;
    left = std::max(left, mask_.x), right = std::min(right, mask_.maxX());
    top = std::max(top, mask_.y), bottom = std::min(bottom, mask_.maxY());
  }
  left = std::max(left, canvas.x), right = std::min(right, canvas.maxX());
  top = std::max(top, canvas.y), bottom = std::min(bottom, canvas.maxY());
  rect_ = {left, top, std::max(0.0, right - left), std::max(0.0, bottom - top)};
  const auto row = [far](double edge) { return static_cast<int>(std::clamp(edge, -far, far)); };
  straightBegin_ = row(std::ceil(mask ? std::max(top, mask_.y + radiusY_) : top));
  straightEnd_ = row(std::floor(mask ? std::min(bottom, mask_.maxY() - radiusY_) : bottom));
}

std::pair<double, double> ShapeCoverage::edgesAt(double y) const {
  const double depth = std::max(mask_.y + radiusY_ - y, y - (mask_.maxY() - radiusY_));
  if (!(depth > 0) || !(radiusX_ > 0)) return {rect_.x, rect_.maxX()};
  const double share = std::min(1.0, depth / radiusY_);
  const double inset = radiusX_ * (1 - std::sqrt(1 - share * share));
  return {std::max(rect_.x, mask_.x + inset), std::min(rect_.maxX(), mask_.maxX() - inset)};
}

ShapeCoverage::Row ShapeCoverage::row(int y, int left, int right, std::int16_t* each) const {
  const double top = std::max<double>(y, rect_.y), bottom = std::min(y + 1.0, rect_.maxY());
  if (!(bottom > top) || !(rect_.width > 0)) return {left, left, left, left};
  const double height = std::min(y + 1.0, canvas_.maxY()) - std::max<double>(y, canvas_.y);

  // The extremes of the edges within the row: where both are the same, the row has no bend.
  const auto [upperLeft, upperRight] = edgesAt(top);
  const auto [lowerLeft, lowerRight] = edgesAt(bottom);
  // A row that holds all of the shape's height bends out between its ends.
  const double middle = std::clamp((mask_.y + mask_.maxY()) / 2, top, bottom);
  const auto [middleLeft, middleRight] = edgesAt(middle);
  const double outerLeft = std::min({upperLeft, lowerLeft, middleLeft});
  const double innerLeft = std::max(upperLeft, lowerLeft);
  const double innerRight = std::min(upperRight, lowerRight);
  const double outerRight = std::max({upperRight, lowerRight, middleRight});

  Row result;
  result.begin = std::clamp(static_cast<int>(std::floor(outerLeft)), left, right);
  result.end = std::clamp(static_cast<int>(std::ceil(outerRight)), result.begin, right);
  const bool wholeHeight = bottom - top >= height - nearlyWhole;
  if (wholeHeight && innerRight > innerLeft) {
    // The canvas's own edge makes a sample's square smaller; what fills it is whole.
    const int from = innerLeft <= canvas_.x ? static_cast<int>(std::floor(canvas_.x))
                                            : static_cast<int>(std::ceil(innerLeft));
    const int to = innerRight >= canvas_.maxX() ? static_cast<int>(std::ceil(canvas_.maxX()))
                                                : static_cast<int>(std::floor(innerRight));
    result.fullBegin = std::clamp(from, result.begin, result.end);
    result.fullEnd = std::clamp(to, result.fullBegin, result.end);
  } else {
    result.fullBegin = result.fullEnd = result.end;
  }

  const double bend = std::max(innerLeft - outerLeft, outerRight - innerRight);
  const int parts = bend > 1 ? slices : bend > nearlyWhole ? fewSlices : 1;
  double edges[slices][2];
  for (int part = 0; part < parts; ++part) {
    const auto [from, to] = edgesAt(top + (bottom - top) * (part + 0.5) / parts);
    edges[part][0] = from, edges[part][1] = to;
  }
  const auto cover = [&](int begin, int end) {
    for (int i = begin; i < end; ++i) {
      const double width = std::min(i + 1.0, canvas_.maxX()) - std::max<double>(i, canvas_.x);
      double area = 0;
      for (int part = 0; part < parts; ++part) area += overlap(i, edges[part][0], edges[part][1]);
      const double share = width > 0 ? area / parts * (bottom - top) / (width * height) : 0;
      each[i - left] = static_cast<std::int16_t>(std::lround(std::min(1.0, share) * opacity_));
    }
  };
  cover(result.begin, result.fullBegin);
  cover(result.fullEnd, result.end);
  return result;
}

}  // namespace quillant
