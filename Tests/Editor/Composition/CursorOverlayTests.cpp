#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "Editor/Composition/CursorOverlayGeometry.h"
#include "Editor/Composition/CursorStyleRenderer.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

TEST(CursorOverlayGeometry, FitsTheCrop) {
  using CursorOverlayGeometry::displayScale;
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 540}, {10, 10, 1920, 1080}), 0.5);
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 900}, {0, 0, 480, 300}), 2);
  EXPECT_DOUBLE_EQ(displayScale({0, 0, 960, 540}, {1920, 1080, -1920, -1080}), 0.5);
  for (const Rect& bad : {Rect{0, 0, 0, 10}, Rect{0, 0, 10, infinite}})
    EXPECT_EQ(displayScale({0, 0, 10, 10}, bad) + displayScale(bad, {0, 0, 10, 10}), 0);
  EXPECT_DOUBLE_EQ(CursorOverlayGeometry::glyphSize(0.5, 8), 80);
  EXPECT_EQ(CursorOverlayGeometry::glyphSize(0.01, 0.1), 1);
  EXPECT_EQ(CursorOverlayGeometry::glyphSize(infinite, 4), 1);
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

/// The part of the picture that is more than shadow, in units of the glyph's size, without the margin.
Rect inked(const CursorRenderedGlyph& glyph, double size) {
  int left = glyph.image.width, top = glyph.image.height, right = 0, bottom = 0;
  for (int y = 0; y < glyph.image.height; ++y)
    for (int x = 0; x < glyph.image.width; ++x) {
      if (glyph.image.at(x, y) >> 24 < 0x80) continue;
      left = std::min(left, x), right = std::max(right, x + 1);
      top = std::min(top, y), bottom = std::max(bottom, y + 1);
    }
  return {left / size - 0.22, top / size - 0.22, (right - left) / size, (bottom - top) / size};
}

TEST(CursorStyleRenderer, DrawsEveryStyleWhereItsHotspotIs) {
  // The outlines with their strokes, and the hotspot, at size 1.
  const struct {
    const char* id;
    Rect outline;
    Point hotspot;
  } cases[] = {{"system.white", {-0.029, -0.029, 0.838, 1.358}, {0, 0}},
               {"system.black", {-0.029, -0.029, 0.838, 1.358}, {0, 0}},
               {"system.hand", {-0.018, -0.026, 0.954, 1.292}, {0.4914, 0}},
               {"system.ibeam", {-0.03, -0.02, 0.66, 1.24}, {0.3, 0.6}},
               {"touch.dot", {0.0125, 0.0125, 0.875, 0.875}, {0.45, 0.45}},
               {"highlight.ring", {-0.01, -0.01, 0.92, 0.92}, {0.45, 0.45}},
               {"spotlight", {-0.0275, -0.0275, 0.955, 0.955}, {0.45, 0.45}}};
  ASSERT_EQ(std::size(cases), CursorStyleRegistry::styles().size());
  for (const auto& [id, outline, hotspot] : cases) {
    SCOPED_TRACE(id);
    const double size = 200 * CursorStyleRegistry::definition(id)->defaultScale;
    const auto glyph = CursorStyleRenderer::renderedGlyph(id, 200);
    ASSERT_TRUE(glyph);
    EXPECT_EQ(glyph->image.width, static_cast<int>(glyph->canvasSize.width));
    EXPECT_EQ(glyph->image.height, static_cast<int>(glyph->canvasSize.height));
    EXPECT_NEAR(glyph->hotspot.x / size - 0.22, hotspot.x, 1e-9);
    EXPECT_NEAR(glyph->hotspot.y / size - 0.22, hotspot.y, 1e-9);
    const Rect ink = inked(*glyph, size);
    EXPECT_NEAR(ink.x, outline.x, 0.01);
    EXPECT_NEAR(ink.y, outline.y, 0.01);
    EXPECT_NEAR(ink.width, outline.width, 0.015);
    EXPECT_NEAR(ink.height, outline.height, 0.015);
    // A channel above its alpha would glow where the picture is blended.
    for (const std::uint32_t pixel : glyph->image.pixels)
      for (const int shift : {16, 8, 0}) ASSERT_LE(pixel >> shift & 0xFF, pixel >> 24);
  }
}

TEST(CursorStyleRenderer, DrawsAtAnySizeACanvasHolds) {
  for (const double size : {-5.0, 0.1, 1.0})
    EXPECT_EQ(CursorStyleRenderer::renderedGlyph("system.white", size)->image.width, 1);
  EXPECT_FALSE(CursorStyleRenderer::renderedGlyph("system.white", 1e12));
  EXPECT_FALSE(CursorStyleRenderer::renderedGlyph("system.pink", 20));
}

}  // namespace
}  // namespace quillant
