#include <gtest/gtest.h>
#include <limits>

#include "CaptureEngine/OutputDimensions.h"

namespace quillant {

namespace {

TEST(OutputDimensions, FitTheBoxWithEvenSides) {
  const auto native = [](double width, double height) {
    return outputDimensions(CaptureResolution::native, width, height);
  };
  const auto p1080 = [](double width, double height) {
    return outputDimensions(CaptureResolution::p1080, width, height);
  };
  using Size = OutputDimensions;
  EXPECT_EQ(native(3, 3), (Size{2, 2}));
  EXPECT_EQ(native(0, -5), (Size{2, 2}));
  EXPECT_EQ(native(std::numeric_limits<double>::quiet_NaN(), 1e300), (Size{2, 1 << 24}));
  EXPECT_EQ(native(1920 / 1.15 * 1.15, 200 * 1.15), (Size{1920, 230}));  // whole pixels, through points
  EXPECT_EQ(p1080(3840, 2160), (Size{1920, 1080}));
  EXPECT_EQ(p1080(1081, 1081), (Size{1080, 1080}));
  EXPECT_EQ(p1080(1080, 1920), (Size{606, 1080}));  // upright: its height decides
  EXPECT_EQ(p1080(1280, 720), (Size{1280, 720}));   // never enlarged
  EXPECT_EQ(p1080(1, 2160), (Size{2, 1080}));
}

TEST(OutputDimensions, RoundDownAsWholeNumbersDo) {
  for (int side = 1081; side < 9000; ++side) {
    const OutputDimensions wide{1920, 1920 * (side - 1) / (side * 2) / 2 * 2};
    ASSERT_EQ(outputDimensions(CaptureResolution::p1080, side * 2, side - 1), wide) << side;
    const OutputDimensions upright{1080 * (side / 3) / side / 2 * 2, 1080};
    ASSERT_EQ(outputDimensions(CaptureResolution::p1080, side / 3, side), upright) << side;
  }
}

}  // namespace
}  // namespace quillant
