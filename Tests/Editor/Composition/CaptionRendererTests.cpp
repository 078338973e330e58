#include <algorithm>
#include <gtest/gtest.h>

#include "DrawKit/TextOutline.h"
#include "Editor/Composition/CaptionRenderer.h"
#include "Tests/Support/Pixels.h"

namespace quillant {
namespace {

PreparedCaptions captions(TimelineCaptionStyle style) {
  CaptionBlock block{.start = 1, .end = 3};
  double start = 1.2;
  for (const char* word :
       {"Every", "letter", "of", "both", "these", "lines", "is", "drawn,", "up", "to", "the", "end."})
    block.words.push_back({word, start, start + 0.1}), start += 0.1;
  block.lines = {{0, 5}, {6, 11}};
  return PreparedCaptions({{block}, style});
}

const PixelBuffer& pictureOf(const Image& image) {
  return *std::get<PixelBufferRef>(image.source);
}

/// The columns from the first to the last in which a pixel is of a colour that `is` tells.
template <class Is>
std::pair<int, int> columns(const PixelBuffer& picture, Is is) {
  int first = picture.width, last = -1;
  for (int y = 0; y < picture.height; ++y)
    for (int x = 0; x < picture.width; ++x)
      if (is(pixelAt(picture, x, y))) first = std::min(first, x), last = std::max(last, x);
  return {first, last};
}

TEST(CaptionRenderer, DrawsEachStyleAtItsPlace) {
  // The height of a block of two lines, in font sizes, without what a font adds to a line; and its font's
  // size.
  const std::tuple<TimelineCaptionStyle, double, double> cases[] = {
      {TimelineCaptionStyle::box, 0.44, 0.052},
      {TimelineCaptionStyle::outline, 0.3, 0.052},
      {TimelineCaptionStyle::plain, 0.3, 0.042}};
  for (const auto& [style, padding, ratio] : cases) {
    SCOPED_TRACE(rawText(style));
    CaptionRenderer renderer;
    const auto plan = captions(style);
    const auto image = renderer.image(plan, 1.55, {1280, 720});
    ASSERT_TRUE(image.has_value());
    const Rect place = image->bounds();
    const std::string_view any = "x";
    const double size = 720 * ratio;
    const auto font = TextOutline::of({&any, 1}, {.size = size, .isBold = true});
    const double height = std::ceil(2 * 1.18 * (font.ascent + font.descent) + padding * size);
    // What reaches beyond the block: of a shadow, a part.
    const double margin = (place.height - height) / 2;
    EXPECT_EQ(margin > 0, style == TimelineCaptionStyle::plain);
    EXPECT_LE(margin, std::ceil(0.35 * size));
    EXPECT_NEAR(place.maxY() - margin, 720 * 0.94, 0.5);
    EXPECT_NEAR(place.center().x, 640, 0.5);
    EXPECT_EQ(place, (Rect{std::round(place.x), std::round(place.y), place.width, place.height}))
        << "whole pixels";
    // The spoken word stands out of white ones that reach from side to side.
    const auto& picture = pictureOf(*image);
    const auto accent = columns(picture, [](std::uint32_t pixel) { return pixel == 0xFFFF7A5C; });
    const auto white = columns(picture, [](std::uint32_t pixel) { return pixel == 0xFFFFFFFF; });
    EXPECT_GT(accent.second - accent.first, size);
    EXPECT_LT(accent.second - accent.first, 4 * size);
    EXPECT_LT(white.first, accent.first);
    EXPECT_LT(picture.width - white.second, margin + 1.2 * size);
    const double box = style == TimelineCaptionStyle::box ? 0.68 * 255 : 0;
    EXPECT_NEAR(pixelAt(picture, picture.width / 2, 2) >> 24, box, 1);
  }
}

TEST(CaptionRenderer, DrawsAWordOnceAndNothingWhereNothingIsRead) {
  CaptionRenderer renderer;
  const auto plan = captions(TimelineCaptionStyle::box);
  const auto at = [&](double time, Size canvas = {640, 360}) { return renderer.image(plan, time, canvas); };
  EXPECT_FALSE(at(0.9) || at(3) || at(2, {0, 360}) || at(2, {640, -1}));
  EXPECT_EQ(&pictureOf(*at(1.31)), &pictureOf(*at(1.39)));
  EXPECT_NE(&pictureOf(*at(1.31)), &pictureOf(*at(1.41)));
  EXPECT_EQ(&pictureOf(*at(1.4)), &pictureOf(*at(1.49))) << "the frame at a word's start shows it";
  EXPECT_NE(&pictureOf(*at(1.31)), &pictureOf(*at(1.31, {320, 180})));
  EXPECT_EQ(columns(pictureOf(*at(1.1)), [](std::uint32_t pixel) { return pixel == 0xFFFF7A5C; }).second, -1)
      << "no word has been spoken yet";
  // A narrow canvas makes the letters smaller rather than cutting them.
  const auto narrow = *at(2, {360, 640});
  EXPECT_LE(narrow.bounds().width, std::ceil(360 * 0.94));
  EXPECT_GT(narrow.bounds().width, 300);
  EXPECT_GT(pictureOf(narrow).width -
                columns(pictureOf(narrow), [](std::uint32_t pixel) { return pixel == 0xFFFFFFFF; }).second,
            3);
}

}  // namespace
}  // namespace quillant
