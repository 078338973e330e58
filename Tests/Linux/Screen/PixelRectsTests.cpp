#include <algorithm>
#include <gtest/gtest.h>
#include <random>

#include "Linux/Screen/PicturePlacement.h"
#include "Linux/Screen/PixelRects.h"

namespace quillant {
namespace {

TEST(PixelRects, CoversAllThatItWasMadeFromAndStaysInside) {
  std::mt19937 random(1);
  const auto upTo = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  for (int round = 0; round < 500; ++round) {
    const PixelRect bounds{upTo(3), upTo(3), 300 + upTo(40), 200 + upTo(40)};
    std::vector<PixelRect> rects(static_cast<std::size_t>(upTo(60)));
    for (auto& rect : rects) rect = {upTo(400) - 40, upTo(300) - 40, 1 + upTo(40), 1 + upTo(12)};
    const auto result = PixelRects::coalesced(rects, bounds);
    EXPECT_LE(result.size(), 32U);
    std::int64_t total = 0;
    for (const auto& rect : result) {
      EXPECT_TRUE(PixelRects::contains(bounds, rect));
      const auto isAligned = [](int edge, int low, int high) {
        return edge % 2 == 0 || edge == low || edge == high;
      };
      EXPECT_TRUE(isAligned(rect.x, bounds.x, -1) && isAligned(rect.y, bounds.y, -1));
      EXPECT_TRUE(isAligned(rect.x + rect.width, -1, bounds.x + bounds.width));
      EXPECT_TRUE(isAligned(rect.y + rect.height, -1, bounds.y + bounds.height));
      total += PixelRects::area(rect);
    }
    EXPECT_LE(total, PixelRects::area(bounds));
    for (const auto& rect : rects) {
      const PixelRect wanted = PixelRects::intersection(rect, bounds);
      if (PixelRects::area(wanted) == 0) continue;
      EXPECT_TRUE(std::ranges::any_of(
          result, [&](const PixelRect& other) { return PixelRects::contains(other, wanted); }));
    }
  }
}

TEST(PicturePlacement, FillsAtTheStartAndFitsAfterwards) {
  struct Case {
    PicturePlacement placement;
    int width;
    int height;
    bool isScaled;
  };
  const auto filling = PicturePlacement::filling;
  const auto cut = filling(301, 201, 300, 200);
  const auto halved = filling(601, 400, 300, 200);
  for (const auto& [placement, width, height, isScaled] : std::vector<Case>{
           {cut, 300, 200, false},
           {cut.forSource(301, 201), 300, 200, false},
           {cut.forSource(302, 201), 300, 200, true},
           {cut.forSource(200, 100), 200, 100, false},
           {cut.forSource(600, 100), 300, 50, true},
           {cut.forSource(3, 4000), 1, 200, true},
           {halved, 300, 200, true},
           {halved.forSource(300, 200), 150, 100, true},
           {halved.forSource(601, 800), 150, 200, true},
           {filling(3840, 2160, 1920, 1080), 1920, 1080, true},
           // Of another shape than asked for: nothing is stretched.
           {filling(300, 300, 200, 100), 100, 100, true},
       }) {
    EXPECT_EQ(placement.width, width) << placement.sourceWidth << "x" << placement.sourceHeight;
    EXPECT_EQ(placement.height, height) << placement.sourceWidth << "x" << placement.sourceHeight;
    EXPECT_EQ(placement.isScaled(), isScaled) << placement.sourceWidth << "x" << placement.sourceHeight;
  }
}

}  // namespace
}  // namespace quillant
