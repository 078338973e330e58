#include <algorithm>
#include <deque>
#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <set>

#include "MediaKit/Writing/PictureConverter.h"
#include "Tests/Support/Media/StampedFrames.h"

namespace quillant {
namespace {

using Plane = std::vector<std::uint8_t>;

Plane lumaOf(const EncoderPicture& picture, int width, int height) {
  Plane luma;
  for (int y = 0; y < height; ++y) {
    const auto* row = picture.planes[0].data + static_cast<std::ptrdiff_t>(picture.planes[0].stride) * y;
    luma.insert(luma.end(), row, row + width);
  }
  return luma;
}

PixelBufferRef with(const PixelBufferRef& buffer, std::uint64_t sequence, std::vector<PixelRect> changed) {
  auto copy = std::make_shared<PixelBuffer>(*buffer);
  copy->sequence = sequence;
  copy->changed = std::move(changed);
  return copy;
}

TEST(PictureConverter, ConvertsWhatChangedAndTellsWhatDidNot) {
  constexpr int width = 208;
  constexpr int height = 104;  // no whole number of blocks
  const auto first = StampedFrames::mostlyStill(width, height, 0);
  const auto second = StampedFrames::mostlyStill(width, height, 1);
  const auto expected = lumaOf(*PictureConverter(width, height).convert(*second).picture, width, height);
  constexpr std::uint64_t everything = width * height;

  auto beyond = second->changed;
  beyond.insert(beyond.end(), {{200, 96, 50, 50}, {-10, -10, 5, 5}});

  struct Case {
    const char* name;
    std::uint64_t sequence;
    std::vector<PixelRect> changed;
    std::uint64_t pixels;
    int constantBlocks;  // of 13 columns by 7 rows
    bool isChanged;
  };
  const std::vector<Case> cases{
      // The stamp touches eight blocks, and a ninth by the chroma beside it; the noise, where it was and
      // where it
      // is, two more rows of three each.
      {"the next picture", 2, second->changed, 130 * 8 + 2 * 34 * 32, 91 - 9 - 6 - 6, true},
      {"nothing changed", 2, {}, 0, 91, false},
      {"the same picture again", 1, second->changed, 0, 91, false},
      {"one was lost in between", 3, second->changed, everything, 0, true},
      {"the source started anew", 1000, {}, everything, 0, true},
      {"the source does not tell", 0, {}, everything, 0, true},
      {"beyond the edge", 2, beyond, 130 * 8 + 2 * 34 * 32 + 8 * 8, 91 - 9 - 6 - 6 - 1, true},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.name);
    PictureConverter converter(width, height);
    const auto before = lumaOf(*converter.convert(*with(first, 1, {})).picture, width, height);
    const auto [picture, pixels] = converter.convert(*with(second, each.sequence, each.changed));
    EXPECT_EQ(pixels, each.pixels);
    const auto& blocks = picture->constantBlocks;
    EXPECT_EQ(std::accumulate(blocks.begin(), blocks.end(), 0), each.constantBlocks);
    EXPECT_EQ(picture->changed, each.isChanged);
    // A block that is told to be constant is.
    const auto after = lumaOf(*picture, width, height);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        if (!blocks[static_cast<std::size_t>(y / 16 * 13 + x / 16)]) continue;
        const auto at = static_cast<std::size_t>(y * width + x);
        ASSERT_EQ(before[at], after[at]) << x << ' ' << y;
      }
    }
    EXPECT_EQ(after, each.isChanged ? expected : before);
  }
}

TEST(PictureConverter, KeepsPicturesThatWaitAndBringsReusedOnesUpToDate) {
  constexpr int width = 208;
  constexpr int height = 104;
  std::vector<PixelBufferRef> sources;
  std::vector<Plane> expected;
  for (std::uint32_t i = 0; i < 40; ++i) {
    sources.push_back(StampedFrames::mostlyStill(width, height, i));
    expected.push_back(
        lumaOf(*PictureConverter(width, height).convert(*sources.back()).picture, width, height));
  }
  PictureConverter converter(width, height);
  std::mt19937 random(7);
  std::deque<std::pair<std::size_t, EncoderPictureRef>> waiting;
  std::set<const std::uint8_t*> memory;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    waiting.emplace_back(i, converter.convert(*with(sources[i], i + 1, sources[i]->changed)).picture);
    memory.insert(waiting.back().second->planes[0].data);
    if (i % 7 == 3) waiting.emplace_back(i, converter.convert(*with(sources[i], i + 1, {})).picture);
    for (const auto& [index, picture] : waiting)
      ASSERT_EQ(lumaOf(*picture, width, height), expected[index]) << i;
    while (waiting.size() > random() % 6) waiting.pop_front();
  }
  EXPECT_LE(memory.size(), 8U);
}

TEST(PictureConverter, TakesPlanarPicturesAsTheyAre) {
  Plane memory(64 * 32 * 3 / 2);
  std::iota(memory.begin(), memory.end(), std::uint8_t{0});
  PixelBuffer buffer{.format = PixelFormat::i420, .width = 64, .height = 32};
  buffer.planes = {{{memory.data(), 64}, {memory.data() + 2048, 32}, {memory.data() + 2560, 32}}};
  PictureConverter converter(64, 32);
  const auto [shared, pixels] = converter.convert(buffer);
  const auto& picture = *shared;
  EXPECT_EQ(pixels, 64U * 32U);
  EXPECT_TRUE(std::equal(memory.begin(), memory.begin() + 2048, picture.planes[0].data));
  for (int y = 0; y < 16; ++y)
    for (const std::size_t plane : {1U, 2U})
      EXPECT_TRUE(std::equal(buffer.planes[plane].data + 32 * y, buffer.planes[plane].data + 32 * (y + 1),
                             picture.planes[plane].data + picture.planes[plane].stride * y));
}

}  // namespace
}  // namespace quillant
