#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>

#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/GaussianBlur.h"

namespace quillant {
namespace {

Path rectangle(double x, double y, double width, double height) {
  const std::array<Point, 4> corners{{{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}}};
  return Path().polygon(corners);
}

TEST(GaussianBlur, ComesNearAGaussian) {
  constexpr int side = 121, middle = side / 2;
  for (const double sigma : {0.4, 1.0, 1.7, 4.0, 11.3}) {
    std::vector<float> plane(side * side);
    plane[middle * side + middle] = 1;
    GaussianBlur::blur(plane, side, sigma);
    EXPECT_NEAR(std::accumulate(plane.begin(), plane.end(), 0.0), 1, 1e-5) << sigma;
    double variance = 0, peak = 0;
    for (int y = 0; y < side; ++y)
      for (int x = 0; x < side; ++x) {
        const float value = plane[y * side + x];
        EXPECT_NEAR(value, plane[y * side + side - 1 - x], 1e-7);
        variance += static_cast<double>(value) * (x - middle) * (x - middle);
        peak = std::max(peak, static_cast<double>(value));
      }
    EXPECT_NEAR(variance, sigma * sigma, 1e-3 * sigma * sigma) << sigma;
    if (sigma >= 1) {
      EXPECT_NEAR(peak * 2 * M_PI * sigma * sigma, 1, 0.13) << sigma;
    }
  }
  std::vector<float> plane{1, 2, 3, 4};
  for (const double sigma : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    GaussianBlur::blur(plane, 2, sigma);
  EXPECT_EQ(plane, (std::vector<float>{1, 2, 3, 4}));
}

TEST(Canvas, KeepsColoursMultipliedByTheirAlpha) {
  Canvas canvas(4, 2);
  canvas.translate(1, 0);
  canvas.fill(rectangle(0, 0, 1, 2), {1, 0.2, 0, 1});
  canvas.fill(rectangle(1, 0, 1, 2), {1, 0, 0, 0.5});
  canvas.fill(rectangle(2, 0, 0.5, 2), {0, 0, 1, 1});
  const Bitmap bitmap = std::move(canvas).take();
  for (int y = 0; y < 2; ++y) {
    EXPECT_EQ(bitmap.at(0, y), 0u);
    EXPECT_EQ(bitmap.at(1, y), 0xFFFF3300u);
    EXPECT_EQ(bitmap.at(2, y), 0x80800000u);
    EXPECT_EQ(bitmap.at(3, y) & 0xFFFF00u, 0u);
    EXPECT_NEAR(bitmap.at(3, y) >> 24, 0x80, 1);
  }
  Canvas over(4, 2);
  over.fill(rectangle(0, 0, 4, 2), {1, 1, 1, 1});
  over.draw(bitmap, {1, 1});
  const Bitmap result = std::move(over).take();
  EXPECT_EQ(result.at(2, 0), 0xFFFFFFFFu);
  EXPECT_EQ(result.at(2, 1), 0xFFFF3300u);
  EXPECT_EQ(result.at(3, 1), 0xFFFF7F7Fu);
}

TEST(Canvas, CastsOneShadowUnderAll) {
  Canvas canvas(60, 60);
  canvas.fill(rectangle(20, 20, 20, 20), {1, 1, 1, 1});
  canvas.stroke(rectangle(20, 20, 20, 20), {0, 0, 0, 1}, 2);
  canvas.castShadow({.offset = {0, 6}, .blur = 4, .color = {0, 0, 0, 0.5}});
  const Bitmap bitmap = std::move(canvas).take();
  EXPECT_EQ(bitmap.at(30, 30), 0xFFFFFFFFu) << "the stroke's shadow lies on the filling";
  EXPECT_EQ(bitmap.at(30, 10), 0u);
  EXPECT_NEAR(bitmap.at(30, 42) >> 24, 0x80, 1) << "full shadow below";
  EXPECT_NEAR(bitmap.at(30, 46) >> 24, 0x40, 0x12) << "half of it at the shadow's edge";
  EXPECT_EQ(bitmap.at(30, 55) >> 24, 0u);
}

TEST(Canvas, RefusesWhatItCannotDraw) {
  for (const int side : {0, -1, Canvas::longestSide + 1}) EXPECT_THROW(Canvas(1, side), DrawingError);
  Canvas canvas(8, 8);
  canvas.fill(Path().ellipse({0, 0, 8, 8}), {});
  EXPECT_EQ(std::move(canvas).take().at(4, 4), 0xFF000000u);
}

}  // namespace
}  // namespace quillant
