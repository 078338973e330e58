#include <gtest/gtest.h>
#include <vector>

#include "Linux/Screen/PicturePlacement.h"

namespace quillant {
namespace {

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
           {cut.forSource(302, 201), 300, 200, true},
           {cut.forSource(200, 100), 200, 100, false},
           {cut.forSource(600, 100), 300, 50, true},
           {cut.forSource(3, 4000), 1, 200, true},
           {halved, 300, 200, true},
           {halved.forSource(300, 200), 150, 100, true},
           {halved.forSource(601, 800), 150, 200, true},
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
