#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <limits>

#include "DrawKit/TextOutline.h"

namespace quillant {
namespace {

TextOutline outline(std::string_view first, std::string_view second, std::string_view paragraph) {
  return TextOutline::of(std::array{first, second}, {.size = 40, .isBold = true}, paragraph);
}

/// Where the leftmost point of a path is.
double left(const Path& path) {
  double result = std::numeric_limits<double>::infinity();
  for (const auto& element : path.elements)
    if (const auto* move = std::get_if<Path::Move>(&element)) result = std::min(result, move->to.x);
  return result;
}

TEST(TextOutline, WritesALineInTheDirectionOfItsParagraph) {
  for (const std::string_view paragraph : {"שלום abc", "abc שלום"}) {
    const bool isRightToLeft = !paragraph.starts_with('a');
    const auto line = outline("abc ", "שלום", paragraph);
    EXPECT_EQ(left(line.parts[0]) > left(line.parts[1]), isRightToLeft) << paragraph;
    EXPECT_NEAR(line.ink.width, line.width, 8);
  }
}

TEST(TextOutline, HasPicturesOfLettersWithColors) {
  const auto line = outline("so ", "🎉👍🏽", "so 🎉👍🏽");
  EXPECT_EQ(line.unwritten, "");
  EXPECT_TRUE(line.parts[1].elements.empty());
  ASSERT_EQ(line.pictures.size(), 1u);
  const auto& [pixels, corner] = line.pictures[0];
  EXPECT_GT(corner.x, line.parts[0].elements.empty() ? 0 : 40);
  EXPECT_NEAR(pixels->width, 2 * 50, 20);
  const std::span words(reinterpret_cast<const std::uint32_t*>(pixels->planes[0].data),
                        static_cast<std::size_t>(pixels->width * pixels->height));
  EXPECT_GT(std::ranges::count_if(words, [](std::uint32_t pixel) { return pixel >> 24 == 0xFF; }),
            static_cast<std::ptrdiff_t>(words.size()) / 4);
}

TEST(TextOutline, LeavesOutWhatNoFontHas) {
  const auto line = outline("a\U0010FFF0b", "\U0010FFF0", "a");
  EXPECT_EQ(line.unwritten, "\U0010FFF0");
  const auto isDrawn = [](const Path::Element& element) {
    return std::holds_alternative<Path::Line>(element);
  };
  EXPECT_TRUE(std::ranges::none_of(line.parts[1].elements, isDrawn)) << "not even a box";
}

}  // namespace
}  // namespace quillant
