#include "DrawKit/GaussianBlur.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace quillant::GaussianBlur {

namespace {

/// Boxes over each other come near to a Gaussian; with three of them the rest is below 8 bits in a soft
/// shadow.
constexpr int boxes = 3;

/// A mean over the `radius` values on either side, and of the one behind them a part. Without that part only
/// some sigmas could be met, and small shadows would grow in steps.
struct Box {
  std::ptrdiff_t radius;
  double part;

  static Box of(double sigma) {
    const double variance = sigma * sigma / boxes;
    const double r = std::floor((std::sqrt(12 * variance + 1) - 1) / 2);
    const double part = (2 * r + 1) * (r * (r + 1) - 3 * variance) / (6 * (variance - (r + 1) * (r + 1)));
    return {static_cast<std::ptrdiff_t>(r), part};
  }

  void apply(const std::vector<double>& line, std::vector<double>& result) const {
    const auto count = static_cast<std::ptrdiff_t>(line.size());
    const auto at = [&](std::ptrdiff_t i) { return i < 0 || i >= count ? 0.0 : line[i]; };
    const double scale = 1 / (2 * static_cast<double>(radius) + 1 + 2 * part);
    double sum = 0;
    for (std::ptrdiff_t i = 0; i <= std::min(radius, count - 1); ++i) sum += line[i];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
      const double entering = at(i + radius + 1);
      result[i] = (sum + part * (at(i - radius - 1) + entering)) * scale;
      sum += entering - at(i - radius);
    }
  }
};

/// Blurs each row and lays it down as a column: twice, and both directions are blurred.
void blurRows(std::span<const float> rows, std::span<float> columns, std::size_t width, const Box& box) {
  const std::size_t height = rows.size() / width;
  std::vector<double> line(width), blurred(width);
  for (std::size_t y = 0; y < height; ++y) {
    const auto row = rows.subspan(y * width, width);
    std::ranges::copy(row, line.begin());
    for (int pass = 0; pass < boxes; ++pass) {
      box.apply(line, blurred);
      std::swap(line, blurred);
    }
    for (std::size_t x = 0; x < width; ++x) columns[x * height + y] = static_cast<float>(line[x]);
  }
}

}  // namespace

void blur(std::span<float> plane, int width, double sigma) {
  if (!(sigma > 0) || !std::isfinite(sigma) || plane.empty()) return;
  const Box box = Box::of(sigma);
  const auto across = static_cast<std::size_t>(width);
  std::vector<float> turned(plane.size());
  blurRows(plane, turned, across, box);
  blurRows(turned, plane, plane.size() / across, box);
}

}  // namespace quillant::GaussianBlur
