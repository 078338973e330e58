#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <hwy/highway.h>
#include <random>

#include "MediaKit/Pictures/ColorConversion.h"

namespace quillant {
namespace {

struct Picture {
  Picture(int w, int h) : width(w), height(h), bgra(static_cast<std::size_t>(w) * h * 4) {
    for (auto& plane : i420) plane.resize(static_cast<std::size_t>(w) * h, 7);
  }
  void convert(PixelRect area) {
    ColorConversion::bgraToI420(
        {bgra.data(), width * 4},
        {{{i420[0].data(), width}, {i420[1].data(), width / 2}, {i420[2].data(), width / 2}}}, area);
  }
  double channel(int x, int y, int index) const {
    return bgra[static_cast<std::size_t>((y * width + std::max(x, 0)) * 4 + index)];
  }

  int width;
  int height;
  std::vector<std::uint8_t> bgra;
  std::array<std::vector<std::uint8_t>, 3> i420;
};

Picture noise(int width, int height) {
  Picture picture(width, height);
  std::minstd_rand random(5);
  // The extremes are where fixed-point arithmetic goes wrong.
  for (auto& value : picture.bgra)
    value = static_cast<std::uint8_t>(random() % 3 == 0 ? (random() % 2) * 255 : random() >> 8);
  // So are grays, which must stay without a color.
  for (std::size_t at = 0; at < picture.bgra.size() / 2; at += 4)
    std::fill_n(&picture.bgra[at], 4, picture.bgra[at]);
  return picture;
}

/// The definition of BT.709 in limited range, in double precision.
std::array<double, 3> reference(double blue, double green, double red) {
  const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  return {16 + luma * 219 / 255, 128 + (blue - luma) / 1.8556 * 224 / 255,
          128 + (red - luma) / 1.5748 * 224 / 255};
}

void expectTheDefinition() {
  for (const int width : {2, 34, 254}) {
    auto picture = noise(width, 6);
    picture.convert({0, 0, width, 6});
    for (int y = 0; y < picture.height; ++y)
      for (int x = 0; x < width; ++x) {
        const auto expected =
            reference(picture.channel(x, y, 0), picture.channel(x, y, 1), picture.channel(x, y, 2));
        ASSERT_NEAR(picture.i420[0][static_cast<std::size_t>(y * width + x)], expected[0], 0.55)
            << x << ' ' << y;
        if (x % 2 || y % 2) continue;
        std::array<double, 3> mean{};
        for (int index = 0; index < 3; ++index)
          for (const int row : {y, y + 1})
            mean[static_cast<std::size_t>(index)] += picture.channel(x - 1, row, index) / 8 +
                                                     picture.channel(x, row, index) / 4 +
                                                     picture.channel(x + 1, row, index) / 8;
        const auto chroma = reference(mean[0], mean[1], mean[2]);
        const auto at = static_cast<std::size_t>(y / 2 * (width / 2) + x / 2);
        ASSERT_NEAR(picture.i420[1][at], chroma[1], 0.55) << x << ' ' << y;
        ASSERT_NEAR(picture.i420[2][at], chroma[2], 0.55) << x << ' ' << y;
      }
  }
}

TEST(ColorConversion, AgreesWithTheDefinitionOnEveryInstructionSet) {
  for (const auto target : hwy::SupportedAndGeneratedTargets()) {
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(target);
    expectTheDefinition();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
}

TEST(ColorConversion, AChangeConvertedAloneGivesTheWholePicture) {
  std::minstd_rand random(11);
  auto before = noise(130, 40);
  before.convert({0, 0, 130, 40});
  for (int round = 0; round < 200; ++round) {
    const int x = static_cast<int>(random() % 130);
    const int y = static_cast<int>(random() % 40);
    const PixelRect rect{x, y, 1 + static_cast<int>(random() % unsigned(130 - x)),
                         1 + static_cast<int>(random() % unsigned(40 - y))};
    for (int row = rect.y; row < rect.y + rect.height; ++row)
      for (int i = rect.x * 4; i < (rect.x + rect.width) * 4; ++i)
        before.bgra[static_cast<std::size_t>(row * 130 * 4 + i)] = static_cast<std::uint8_t>(random() >> 8);
    auto whole = before;
    whole.convert({0, 0, 130, 40});
    before.convert(ColorConversion::affectedArea(rect, 130, 40));
    ASSERT_EQ(before.i420, whole.i420) << rect.x << ' ' << rect.y << ' ' << rect.width << ' ' << rect.height;
  }
}

}  // namespace
}  // namespace quillant
