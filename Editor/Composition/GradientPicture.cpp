#include "Editor/Composition/GradientPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "Editor/Timeline/SortByStart.h"

namespace quillant::GradientPicture {

namespace {

/// Blue, green, red and alpha of 0...255, premultiplied: so blends through transparency keep their hue.
using Color = std::array<double, 4>;

/// What lies between two stops.
class Ramp {
 public:
  explicit Ramp(std::vector<GradientStop> stops) {
    sortByStart(stops, &GradientStop::position);
    for (const GradientStop& stop : stops) {
      const double alpha = std::clamp(stop.color.alpha, 0.0, 1.0);
      const auto channel = [alpha](double value) { return std::clamp(value, 0.0, 1.0) * alpha * 255; };
      stops_.push_back(
          {stop.position,
           {channel(stop.color.blue), channel(stop.color.green), channel(stop.color.red), alpha * 255}});
    }
    if (stops_.empty()) stops_.push_back({0, {0, 0, 0, 255}});
  }

  Color at(double place) const {
    const auto after = std::ranges::upper_bound(stops_, place, {}, &Stop::position);
    if (after == stops_.begin()) return stops_.front().color;
    if (after == stops_.end()) return stops_.back().color;
    const auto& before = *std::prev(after);
    const double part = (place - before.position) / (after->position - before.position);
    Color result;
    for (std::size_t i = 0; i < result.size(); ++i)
      result[i] = before.color[i] + (after->color[i] - before.color[i]) * part;
    return result;
  }

 private:
  struct Stop {
    double position;
    Color color;
  };
  std::vector<Stop> stops_;  ///< By position.
};

/// 0 up to 1, evenly spread over any few neighbouring pixels.
double dither(int x, int y) {
  double whole = 0;
  return std::modf(52.9829189 * std::modf(0.06711056 * x + 0.00583715 * y, &whole), &whole);
}

/// Where on the line of a gradient a pixel lies, from 0 to 1.
struct Place {
  Rect rect;

  auto operator()(const LinearGradient& gradient) const {
    const auto [start, end] = endpoints(gradient, rect);
    const double dx = end.x - start.x, dy = end.y - start.y;
    const double square = std::max(dx * dx + dy * dy, 1e-12);
    return [=, from = start](double x, double y) { return ((x - from.x) * dx + (y - from.y) * dy) / square; };
  }
  auto operator()(const RadialGradient& gradient) const {
    const Point center{rect.x + rect.width * gradient.centerX, rect.y + rect.height * gradient.centerY};
    const double radius = std::max(radialRadius(gradient, rect), 1e-6);
    return [=](double x, double y) { return std::hypot(x - center.x, y - center.y) / radius; };
  }
};

}  // namespace

Endpoints endpoints(const LinearGradient& gradient, const Rect& rect) {
  const double angle = gradient.angleDegrees * std::numbers::pi / 180;
  const double across = std::sin(angle), down = -std::cos(angle);
  const double half = (std::abs(rect.width * across) + std::abs(rect.height * down)) / 2;
  const Point center = rect.center();
  return {{center.x - across * half, center.y - down * half},
          {center.x + across * half, center.y + down * half}};
}

double radialRadius(const RadialGradient& gradient, const Rect& rect) {
  const auto farther = [](double length, double place) {
    return length * std::max(std::abs(place), std::abs(1 - place));
  };
  return std::hypot(farther(rect.width, gradient.centerX), farther(rect.height, gradient.centerY));
}

PixelBufferRef draw(const GradientPreset& gradient, int width, int height) {
  width = std::max(width, 1), height = std::max(height, 1);
  if (std::max(width, height) > Canvas::longestSide) throw DrawingError(DrawingError::Kind::size);
  auto pixels = std::make_shared<std::vector<std::uint8_t>>(static_cast<std::size_t>(width) * height * 4);
  const Ramp ramp(gradient.stops);
  std::visit(
      [&](const auto& kind) {
        const auto place = Place{{0, 0, static_cast<double>(width), static_cast<double>(height)}}(kind);
        auto* pixel = pixels->data();
        for (int y = 0; y < height; ++y)
          for (int x = 0; x < width; ++x, pixel += 4) {
            const Color color = ramp.at(place(x + 0.5, y + 0.5));
            // A whole value stays what it is, whatever is added.
            const double below = dither(x, y) + 1e-6;
            for (int channel = 0; channel < 4; ++channel)
              pixel[channel] = static_cast<std::uint8_t>(std::min(color[channel] + below, 255.0));
          }
      },
      gradient.kind);
  auto picture = std::make_shared<PixelBuffer>();
  const bool isOpaque =
      std::ranges::all_of(gradient.stops, [](const GradientStop& stop) { return stop.color.alpha >= 1; });
  picture->format = isOpaque ? PixelFormat::bgra : PixelFormat::premultipliedBGRA;
  picture->width = width;
  picture->height = height;
  picture->planes[0] = {pixels->data(), width * 4};
  picture->memory = std::move(pixels);
  return picture;
}

}  // namespace quillant::GradientPicture
