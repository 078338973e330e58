#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "Editor/Composition/CursorOverlayGeometry.h"
#include "Editor/Composition/CursorStyleRenderer.h"
#include "Editor/Project/CursorStyleRegistry.h"
#include "Tests/Support/Pixels.h"

namespace quillant {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

TEST(CursorOverlayGeometry, FitsTheCrop) {
  using namespace CursorOverlayGeometry;
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 540}, {10, 10, 1920, 1080}), 0.5);
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 900}, {0, 0, 480, 300}), 2);
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 540}, {1920, 1080, -1920, -1080}), 0.5);
  for (const Rect& bad : {Rect{0, 0, 0, 10}, Rect{0, 0, 10, infinite}})
    EXPECT_EQ(displayScale({0, 0, 10, 10}, bad) + displayScale(bad, {0, 0, 10, 10}), 0);
  EXPECT_DOUBLE_EQ(glyphSize(0.5, 8), 80);
  EXPECT_EQ(glyphSize(0.01, 0.1), 1);
  EXPECT_EQ(glyphSize(infinite, 4), 1);
}

TEST(CursorOverlayGeometry, PutsTheTipOnThePictureAndPinsItToTheEdge) {
  // A crop of 800x400 at (100, 50) of a 2000x1000 picture, fitted at half its size into the middle of
  // 400x300.
  const CursorOverlayGeometry::Placement placement{.contentRect = {40, 20, 400, 300},
                                                   .cropRect = {100, 50, 800, 400},
                                                   .normalizedSize = {2000, 1000},
                                                   .trackSize = {1000, 500},
                                                   .canvasSize = {480, 340}};
  EXPECT_EQ(CursorOverlayGeometry::tip(placement, {50, 25}), (Point{40, 70}));
  EXPECT_EQ(CursorOverlayGeometry::tip(placement, {250, 125}), (Point{240, 170}));
  EXPECT_EQ(CursorOverlayGeometry::tip(placement, {-900, 25}), (Point{0, 70}));
  EXPECT_EQ(CursorOverlayGeometry::tip(placement, {1000, 500}), (Point{480, 340}));
}

TEST(CursorStyleRenderer, DrawsEveryStyleWhereItsHotspotIs) {
  // The left, top, right and bottom of an outline with its stroke, and the hotspot, at size 1.
  const std::pair<const char*, std::vector<double>> cases[] = {
      {"system.white", {-0.029, -0.029, 0.809, 1.329, 0, 0}},
      {"system.black", {-0.029, -0.029, 0.809, 1.329, 0, 0}},
      {"system.hand", {-0.026, -0.026, 0.936, 1.266, 0.4914, 0}},
      {"system.ibeam", {-0.03, -0.02, 0.63, 1.22, 0.3, 0.6}},
      {"touch.dot", {0.0125, 0.0125, 0.8875, 0.8875, 0.45, 0.45}},
      {"highlight.ring", {-0.01, -0.01, 0.91, 0.91, 0.45, 0.45}},
      {"spotlight", {-0.0275, -0.0275, 0.9275, 0.9275, 0.45, 0.45}}};
  ASSERT_EQ(std::size(cases), CursorStyleRegistry::styles().size());
  for (const auto& [id, expected] : cases) {
    const double size = 200 * CursorStyleRegistry::definition(id)->defaultScale;
    const auto glyph = CursorStyleRenderer::renderedGlyph(id, 200);
    const PixelBuffer& image = *glyph.value().image;
    int left = image.width, top = image.height, right = 0, bottom = 0;  // of what is more than shadow
    for (int y = 0; y < image.height; ++y)
      for (int x = 0; x < image.width; ++x) {
        const std::uint32_t pixel = pixelAt(image, x, y), alpha = pixel >> 24;
        // A channel above its alpha would glow where the picture is blended.
        for (const int shift : {16, 8, 0}) ASSERT_LE(pixel >> shift & 0xFF, alpha) << id;
        if (alpha < 0x80) continue;
        left = std::min(left, x), right = std::max(right, x + 1);
        top = std::min(top, y), bottom = y + 1;
      }
    std::vector<double> found{left + 0.0,   top + 0.0,        right + 0.0,
                              bottom + 0.0, glyph->hotspot.x, glyph->hotspot.y};
    for (double& place : found) place = place / size - 0.22;
    EXPECT_THAT(found, testing::Pointwise(testing::DoubleNear(0.006), expected)) << id;
  }
}

TEST(CursorStyleRenderer, DropsASoftShadow) {
  // The ring's stroke is 0.1 of its size thick, the shadow 0.045 lower and of sigma 0.05. Where the ring's
  // bend hardly counts, its alpha is 0.92 * 0.34 of the Gaussian over the stroke: 0.982 - 0.540 at 0.05 below
  // the ring, 1.000 - 0.971 at 0.05 above it.
  const auto glyph = CursorStyleRenderer::renderedGlyph("highlight.ring", 400 / 1.55);
  const auto alpha = [&](double y) {
    return pixelAt(*glyph.value().image, 268, static_cast<int>((y + 0.22) * 400)) >> 24;
  };
  EXPECT_NEAR(alpha(0.91 + 0.05), 255 * 0.92 * 0.34 * 0.442, 3);
  EXPECT_NEAR(alpha(-0.01 - 0.05), 255 * 0.92 * 0.34 * 0.029, 2);
}

TEST(CursorStyleRenderer, DrawsAtAnySizeACanvasHolds) {
  for (const double size : {-5.0, 0.1, 1.0})
    EXPECT_EQ(CursorStyleRenderer::renderedGlyph("system.white", size)->image->width, 1);
  EXPECT_FALSE(CursorStyleRenderer::renderedGlyph("system.white", 1e12));
  EXPECT_FALSE(CursorStyleRenderer::renderedGlyph("system.pink", 20));
}

}  // namespace
}  // namespace quillant
