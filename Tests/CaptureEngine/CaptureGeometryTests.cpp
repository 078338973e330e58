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
    const char* name;
    CaptureArea area;
    std::uint32_t display;
    CaptureResolution resolution;
    AreaCaptureGeometry expected;
  } cases[] = {
      {"top left corner of the main display",
       {0, 800, 200, 100},
       1,
       native,
       {{0, 0, 200, 100}, {0, 0, 200, 100}, 400, 200}},
      {"odd points are even pixels at scale 2",
       {10, 20, 101, 101},
       1,
       native,
       {{10, 779, 101, 101}, {10, 779, 101, 101}, 202, 202}},
      {"left of the main display, where x is negative; odd pixels shrink towards the lower left",
       {-1270, 10, 101, 101},
       2,
       native,
       {{10, 610, 100, 100}, {-1270, 790, 100, 100}, 100, 100}},
      {"above the main display, at scale 1.5",
       {-100, 1000, 400, 200},
       3,
       native,
       {{100, 780, 400, 200}, {-100, -300, 400, 200}, 600, 300}},
      {"scaled into the box: the whole source is kept",
       {0, 0, 1000, 500},
       1,
       p1080,
       {{0, 400, 1000, 500}, {0, 400, 1000, 500}, 1920, 960}},
      {"reaching out over the display's left and top",
       {-10, 880, 100, 100},
       1,
       native,
       {{0, 0, 100, 100}, {-10, -80, 100, 100}, 200, 200}},
  };
  for (const auto& [name, area, display, resolution, expected] : cases) {
    const auto geometry = AreaCaptureMapper::geometry(area, display, resolution, desk);
    ASSERT_TRUE(geometry) << name;
    EXPECT_EQ(*geometry, expected) << name << ": source " << geometry->sourceRect.x << " "
                                   << geometry->sourceRect.y << ", region " << geometry->telemetryRegion.x
                                   << " " << geometry->telemetryRegion.y;
  }
  EXPECT_EQ(AreaCaptureMapper::geometry({0, 0, 100, 100}, 4, native, desk), std::nullopt);
}

TEST(AreaCaptureMapper, CountsFromTheMainDisplayWhereNoneLiesAtTheOrigin) {
  const std::vector<DisplayInfo> apart = {{.id = 1, .frame = {50, 0, 800, 700}},
                                          {.id = 2, .frame = {0, 50, 800, 600}, .isMain = true}};
  EXPECT_EQ(AreaCaptureMapper::geometry({0, 0, 10, 10}, 2, native, apart)->telemetryRegion.y, 590);
}

TEST(AreaCaptureMapper, TakesAWindowsScaleFromTheDisplayUnderItsMiddle) {
  const struct {
    Rect frame;
    double expected;
  } cases[] = {
      {{1300, 100, 200, 200}, 2},  // its middle just inside
      {{-640, 500, 10, 10}, 1},   {{0, -100, 100, 120}, 1.5},
      {{-100, 200, 200, 100}, 2},  // on the seam: the far edge is not inside
      {{5000, 5000, 10, 10}, 2},   // beside all of them: the main one's
  };
  for (const auto& [frame, expected] : cases)
    EXPECT_EQ(AreaCaptureMapper::backingScale(frame, desk), expected) << frame.x << ", " << frame.y;
  EXPECT_EQ(AreaCaptureMapper::backingScale({0, 0, 1, 1}, {{.id = 1, .scale = 3, .isMain = true}}), 3);
  EXPECT_EQ(AreaCaptureMapper::backingScale({0, 0, 1, 1}, {}), 2);
}

TEST(WindowCaptureMapper, ShrinksTheRegionToThePixelsThatAreRecorded) {
  const struct {
    Rect frame;
    double scale;
    CaptureResolution resolution;
    WindowCaptureGeometry expected;
  } cases[] = {
      {{-5, 7, 301, 201}, 1, native, {{-5, 7, 300, 200}, 300, 200}},
      {{0, 0, 301, 201}, 2, native, {{0, 0, 301, 201}, 602, 402}},
      {{0, 0, 2000, 1000}, 1, p1080, {{0, 0, 2000, 1000}, 1920, 960}},
      {{0, 0, 0, -3}, 2, native, {{0, 0, 1, 1}, 2, 2}},         // no size: one pixel, rounded up to two
      {{0, 0, 100, 100}, 0, native, {{0, 0, 200, 200}, 2, 2}},  // no scale: a hundredth
  };
  for (const auto& [frame, scale, resolution, expected] : cases)
    EXPECT_EQ(WindowCaptureMapper::geometry(frame, scale, resolution), expected)
        << frame.width << " at " << scale;
}

TEST(WindowCaptureMapper, FitsAPointIntoTheRegionAsThePictureIs) {
  const Rect region{100, 100, 400, 300};
  const struct {
    const char* name;
    Point point;
    Rect live;
    Point expected;
  } cases[] = {
      {"unmoved", {150, 120}, region, {50, 20}},
      {"moved", {1050, 20}, {1000, 0, 400, 300}, {50, 20}},
      {"twice as wide and high", {300, 250}, {0, 0, 800, 600}, {150, 125}},
      {"twice as wide only: fitted, not stretched", {800, 300}, {0, 0, 800, 300}, {400, 150}},
      {"smaller: not enlarged", {90, 40}, {0, 0, 100, 50}, {90, 40}},
      {"beside it: on its edge", {-9, 999}, {0, 0, 100, 50}, {0, 50}},
      {"without a size", {10, 10}, {0, 0, 0, 0}, {1, 1}},
  };
  for (const auto& [name, point, live, expected] : cases)
    EXPECT_EQ(WindowCaptureMapper::mapToPayload(point, live, region), expected) << name;
}

}  // namespace
}  // namespace quillant
