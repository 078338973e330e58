#include <gtest/gtest.h>
#include <limits>

#include "CaptureEngine/OutputDimensions.h"

namespace quillant {

namespace {

TEST(OutputDimensions, FitTheBoxWithEvenSides) {
  const auto native = CaptureResolution::native;
  const auto p1080 = CaptureResolution::p1080;
  const struct {
    CaptureResolution resolution;
    double width, height;
    OutputDimensions expected;
  } cases[] = {
      {native, 3, 3, {2, 2}},
      {native, 0, -5, {2, 2}},
      {native, std::numeric_limits<double>::quiet_NaN(), 1e300, {2, 1 << 24}},
      {p1080, 3840, 2160, {1920, 1080}},
      {p1080, 1081, 1081, {1080, 1080}},
      {p1080, 1080, 1920, {606, 1080}},  // upright: its height decides
      {p1080, 1280, 720, {1280, 720}},   // never enlarged
      {p1080, 1, 2160, {2, 1080}},
      {native, 1920 / 1.15 * 1.15, 200 * 1.15, {1920, 230}},  // whole pixels that came through points
  };
  for (const auto& [resolution, width, height, expected] : cases)
    EXPECT_EQ(outputDimensions(resolution, width, height), expected) << width << " by " << height;
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
