#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/GaussianBlur.h"
#include "Tests/Support/Pixels.h"

namespace quillant {
namespace {

Path rectangle(const Rect& bounds) {
  return Path().rectangle(bounds);
}

TEST(GaussianBlur, ComesNearAGaussian) {
  constexpr int side = 121, middle = side / 2;
  for (const double sigma : {0.4, 1.0, 1.7, 4.0, 11.3}) {
    std::vector<float> plane(side * side);
    plane[middle * side + middle] = 1;
    GaussianBlur::blur(plane, side, sigma);
    double variance = 0;
    for (int i = 0; i < side * side; ++i) {
      const double value = plane[i], x = i % side - middle, y = i / side - middle;
      variance += value * (x * x + y * y) / 2;
      const double gaussian = std::exp(-(x * x + y * y) / (2 * sigma * sigma)) / (2 * M_PI * sigma * sigma);
      ASSERT_NEAR(value, gaussian, (sigma < 1 ? 0.3 : 0.02) / sigma / sigma)
          << sigma << ": " << x << ", " << y;
    }
    EXPECT_NEAR(variance / sigma / sigma, 1, 1e-3) << sigma;
  }
  std::vector<float> plane{1, 2, 3, 4};
  for (const double sigma : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
    GaussianBlur::blur(plane, 2, sigma);
  EXPECT_EQ(plane, (std::vector<float>{1, 2, 3, 4}));
}

TEST(Canvas, KeepsColoursMultipliedByTheirAlpha) {
  Canvas canvas(3, 2);
  canvas.translate(1, 0);
  canvas.fill(rectangle({0, 0, 1, 2}), {1, 0.2, 0, 1});
  canvas.fill(rectangle({1, 0, 1, 1}), {1, 0, 0, 0.5});
  const PixelBufferRef picture = std::move(canvas).take();
  EXPECT_THAT(pixelsOf(*picture), testing::ElementsAre(0, 0xFFFF3300, 0x80800000, 0, 0xFFFF3300, 0));
  Canvas over(3, 2);
  over.fill(rectangle({0, 0, 3, 2}), {1, 1, 1, 1});
  over.draw(*picture, {0, 1});
  constexpr std::uint32_t white = 0xFFFFFFFF;
  EXPECT_THAT(pixelsOf(*std::move(over).take()),
              testing::ElementsAre(white, white, white, white, 0xFFFF3300, 0xFFFF7F7F));
}

TEST(Canvas, CastsOneShadowUnderAll) {
  Canvas canvas(60, 60);
  canvas.fill(rectangle({20, 20, 20, 20}), {1, 1, 1, 1});
  canvas.stroke(rectangle({20, 20, 20, 20}), {0, 0, 0, 1}, 2);
  canvas.castShadow({.offset = {0, 6}, .blur = 4, .color = {0, 0, 0, 0.5}});
  const PixelBufferRef picture = std::move(canvas).take();
  EXPECT_EQ(pixelAt(*picture, 30, 30), 0xFFFFFFFFu) << "the stroke's shadow lies on the filling";
  EXPECT_NEAR(pixelAt(*picture, 30, 42) >> 24, 0x80, 1) << "full shadow below";
  EXPECT_NEAR(pixelAt(*picture, 30, 46) >> 24, 0x40, 0x12) << "half of it at the shadow's edge";
}

TEST(Canvas, RefusesWhatItCannotDraw) {
  for (const int side : {0, -1, Canvas::longestSide + 1}) EXPECT_THROW(Canvas(1, side), DrawingError);
}

}  // namespace
}  // namespace quillant
