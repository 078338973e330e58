#include <gtest/gtest.h>

#include "CaptureEngine/AreaCaptureMapper.h"
#include "CaptureEngine/WindowCaptureMapper.h"

namespace quillant {

namespace {

constexpr auto native = CaptureResolution::native;
constexpr auto p1080 = CaptureResolution::p1080;

/// A laptop at scale 2, a lower display left of it, a wide one above it.
const std::vector<DisplayInfo> desk = {
    {.id = 1, .frame = {0, 0, 1440, 900}, .scale = 2, .isMain = true},
    {.id = 2, .frame = {-1280, 180, 1280, 720}, .scale = 1},
    {.id = 3, .frame = {-200, -1080, 1920, 1080}, .scale = 1.5},
};

TEST(AreaCaptureMapper, TurnsAnUpwardAreaIntoAPartOfItsDisplay) {
  const struct {
    CaptureArea area;
    std::uint32_t display;
    CaptureResolution resolution;
    AreaCaptureGeometry expected;
  } cases[] = {
      // at the main display's top left corner
      {{0, 800, 200, 100}, 1, native, {{0, 0, 200, 100}, {0, 0, 200, 100}, 400, 200}},
      // odd points are even pixels at scale 2
      {{10, 20, 101, 101}, 1, native, {{10, 779, 101, 101}, {10, 779, 101, 101}, 202, 202}},
      // left of the main display; odd pixels shrink towards the lower left
      {{-1270, 10, 101, 101}, 2, native, {{10, 610, 100, 100}, {-1270, 790, 100, 100}, 100, 100}},
      // above the main display, at scale 1.5
      {{-100, 1000, 400, 200}, 3, native, {{100, 780, 400, 200}, {-100, -300, 400, 200}, 600, 300}},
      // scaled into the box: the whole source is kept
      {{0, 0, 1000, 500}, 1, p1080, {{0, 400, 1000, 500}, {0, 400, 1000, 500}, 1920, 960}},
      // reaching out over the display's left and top
      {{-10, 880, 100, 100}, 1, native, {{0, 0, 100, 100}, {-10, -80, 100, 100}, 200, 200}},
  };
  for (const auto& [area, display, resolution, expected] : cases)
    EXPECT_EQ(AreaCaptureMapper::geometry(area, display, resolution, desk), expected)
        << area.x << ", " << area.y;
  EXPECT_EQ(AreaCaptureMapper::geometry({0, 0, 100, 100}, 4, native, desk), std::nullopt);
  // and back, from what is drawn on a display
  EXPECT_EQ(AreaCaptureMapper::area({100, 780, 400, 200}, 3, desk), (CaptureArea{-100, 1000, 400, 200}));
  EXPECT_EQ(AreaCaptureMapper::area({0, 0, 100, 100}, 4, desk), std::nullopt);
}

TEST(AreaCaptureMapper, TakesAWindowsScaleFromTheDisplayUnderItsMiddle) {
  const auto scale = [](Rect frame) { return AreaCaptureMapper::backingScale(frame, desk); };
  EXPECT_EQ(scale({1300, 100, 200, 200}), 2);  // its middle just inside
  EXPECT_EQ(scale({-640, 500, 10, 10}), 1);
  EXPECT_EQ(scale({-100, 200, 200, 100}), 2);  // on the seam: a far edge is not inside
  EXPECT_EQ(scale({0, -100, 100, 200}), 1.5);  // on the upper seam: y counts upwards
  EXPECT_EQ(scale({100, 800, 100, 200}), 2);
  EXPECT_EQ(scale({5000, 5000, 10, 10}), 2);  // beside all of them: the main one's
  EXPECT_EQ(AreaCaptureMapper::backingScale({0, 0, 1, 1}, {}), 2);
}

TEST(WindowCaptureMapper, ShrinksTheRegionToThePixelsThatAreRecorded) {
  using Geometry = WindowCaptureGeometry;
  const auto geometry = WindowCaptureMapper::geometry;
  EXPECT_EQ(geometry({-5, 7, 301, 201}, 1, native), (Geometry{{-5, 7, 300, 200}, 300, 200}));
  EXPECT_EQ(geometry({0, 0, 301, 201}, 2, native), (Geometry{{0, 0, 301, 201}, 602, 402}));
  EXPECT_EQ(geometry({0, 0, 2000, 1000}, 1, p1080), (Geometry{{0, 0, 2000, 1000}, 1920, 960}));
  EXPECT_EQ(geometry({0, 0, 0, -3}, 2, native), (Geometry{{0, 0, 1, 1}, 2, 2}));  // one pixel, made even
  EXPECT_EQ(geometry({0, 0, 100, 100}, 0, native),
            (Geometry{{0, 0, 200, 200}, 2, 2}));  // no scale: a hundredth
}

TEST(WindowCaptureMapper, FitsAPointIntoTheRegionAsThePictureIs) {
  const auto map = [](Point point, Rect live) {
    return WindowCaptureMapper::mapToPayload(point, live, {100, 100, 400, 300});
  };
  EXPECT_EQ(map({1050, 20}, {1000, 0, 400, 300}), (Point{50, 20}));  // moved
  EXPECT_EQ(map({300, 250}, {0, 0, 800, 600}), (Point{150, 125}));
  EXPECT_EQ(map({800, 300}, {0, 0, 800, 300}), (Point{400, 150}));  // fitted, not stretched
  EXPECT_EQ(map({90, 40}, {0, 0, 100, 50}), (Point{90, 40}));       // not enlarged
  EXPECT_EQ(map({-9, 999}, {0, 0, 100, 50}), (Point{0, 50}));       // beside it: on its edge
  EXPECT_EQ(map({10, 10}, {0, 0, 0, 0}), (Point{1, 1}));            // without a size
}

}  // namespace
}  // namespace quillant
