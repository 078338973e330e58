#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "DrawKit/PNGImage.h"
#include "Editor/Composition/FacecamOverlayLayout.h"
#include "Editor/Composition/GradientPicture.h"
#include "Editor/Composition/Layers/FacecamLayer.h"
#include "Editor/Composition/VideoBackgroundStyling.h"
#include "Editor/Composition/VideoInsetGeometry.h"
#include "Editor/Composition/VideoPlacement.h"
#include "Editor/Composition/WallpaperFolder.h"
#include "Editor/Composition/WallpaperImageCache.h"
#include "Tests/Support/Pixels.h"
#include "Tests/Support/TemporaryFolder.h"
#include "tools/CompositionSheet/CompositionScene.h"

namespace quillant {
namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

void expectNear(const Rect& found, const Rect& wanted, const std::string& about) {
  EXPECT_THAT((std::vector{found.x, found.y, found.width, found.height}),
              testing::Pointwise(testing::DoubleNear(1e-9),
                                 std::vector{wanted.x, wanted.y, wanted.width, wanted.height}))
      << about;
}

TEST(VideoInsetGeometry, SharesOutTheRoomOfThePanel) {
  const Rect rect{10, 20, 200, 100};
  const std::tuple<double, VideoInsetBalance, Rect> cases[] = {
      {0.5, {0.5, 0.5}, {60, 45, 100, 50}}, {0.5, {0, 1}, {10, 70, 100, 50}},
      {0.2, {1, 0}, {50, 20, 160, 80}},     {-1, {0.5, 0.5}, rect},
      {0.99, {0, 0}, {10, 20, 10, 5}},      {0.5, {7, -7}, {110, 20, 100, 50}}};
  for (const auto& [amount, balance, wanted] : cases)
    expectNear(VideoInsetGeometry::contentRect(rect, amount, balance), wanted, std::to_string(amount));
  for (const Rect& bad : {Rect{0, 0, 0, 5}, Rect{0, 0, 5, -1}, Rect{0, 0, infinite, 5}})
    EXPECT_EQ(VideoInsetGeometry::contentRect(bad, 0.5, {}), Rect{});
}

TEST(FacecamOverlayLayout, PutsTheBubbleAtItsAnchor) {
  // The short side is 100: a side of 20, a margin of 5.
  FacecamSettings settings{.size = 20, .margin = 5};
  const std::tuple<const char*, double, double> cases[] = {
      {"top-left", 5, 5},        {"top", 90, 5},      {"top-right", 175, 5},  {"left", 5, 40},
      {"center", 90, 40},        {"right", 175, 40},  {"bottom-left", 5, 75}, {"bottom", 90, 75},
      {"bottom-right", 175, 75}, {"nowhere", 175, 75}};
  for (const auto& [anchor, x, y] : cases) {
    settings.anchor = anchor;
    expectNear(FacecamOverlayLayout::frame({200, 100}, settings), {x, y, 20, 20}, anchor);
  }
  EXPECT_EQ(FacecamOverlayLayout::frame({3, 2}, settings).width, 1);
  for (const Size& bad : {Size{0, 10}, Size{10, infinite}})
    EXPECT_EQ(FacecamOverlayLayout::frame(bad, settings), Rect{});
  const Rect bubble{0, 0, 60, 40};
  EXPECT_EQ(FacecamOverlayLayout::cornerRadius(bubble, {.shape = " CIRCLE", .cornerRadius = 3}), 20);
  EXPECT_EQ(FacecamOverlayLayout::cornerRadius(bubble, {.shape = "rounded", .cornerRadius = 3}), 3);
  EXPECT_EQ(FacecamOverlayLayout::cornerRadius(bubble, {.shape = "rounded", .cornerRadius = 99}), 20);
  settings.enabled = false;
  EXPECT_EQ(FacecamOverlayLayout::frame({200, 100}, settings), Rect{});
}

TEST(VideoPlacement, FitsTheCropIntoThePaddedCanvas) {
  struct Case {
    const char* name;
    Size canvas, picture;
    Rect crop;
    double padding, inset;
    Rect frame, drawn;
  };
  const Case cases[] = {
      {"whole", {200, 100}, {400, 200}, {0, 0, 400, 200}, 0, 0, {0, 0, 200, 100}, {0, 0, 200, 100}},
      {"padded", {200, 100}, {400, 200}, {0, 0, 400, 200}, 0.1, 0, {20, 10, 160, 80}, {20, 10, 160, 80}},
      {"square crop", {200, 100}, {400, 200}, {300, 0, 100, 100}, 0.1, 0, {60, 10, 80, 80}, {60, 10, 80, 80}},
      {"blown up", {200, 100}, {20, 20}, {0, 0, 20, 20}, 0, 0, {50, 0, 100, 100}, {50, 0, 100, 100}},
      {"inset", {200, 100}, {400, 200}, {0, 0, 400, 200}, 0, 0.5, {0, 0, 200, 100}, {100, 0, 100, 50}},
      {"more padding than canvas",
       {200, 100},
       {400, 200},
       {0, 0, 400, 200},
       0.6,
       0,
       {60, 30, 80, 40},
       {60, 30, 80, 40}},
      {"one pixel is not divided by",
       {200, 100},
       {1, 1},
       {0, 0, 1, 1},
       0,
       0,
       {50, 0, 100, 100},
       {50, 0, 100, 100}},
      {"no crop", {200, 100}, {400, 200}, {0, 0, infinite, 1}, 0, 0.5, {0, 0, 0, 0}, {0, 0, 0, 0}}};
  for (const Case& c : cases) {
    VideoBackgroundCompositionInstruction instruction;
    instruction.renderSize = c.canvas, instruction.normalizedSize = c.picture, instruction.cropRect = c.crop;
    instruction.styling = {.paddingRatio = c.padding,
                           .borderRadiusRatio = 0.07,
                           .inset = {.amountRatio = c.inset, .balance = {1, 0}}};
    const auto placement = VideoPlacement::of(instruction);
    if (c.padding == 0.6) {
      EXPECT_LE(placement.frame.width, 80) << c.name;
      EXPECT_GE(placement.frame.width, 2) << c.name;
    } else {
      expectNear(placement.frame, c.frame, c.name);
      expectNear(placement.drawn, c.drawn, c.name);
    }
    if (c.drawn.width > 0) expectNear(placement.toCanvas.bounds(placement.crop), placement.drawn, c.name);
    EXPECT_DOUBLE_EQ(placement.cornerRadius, 7);
  }
}

TEST(GradientPicture, RunsAsStyleSheetsHaveIt) {
  using namespace GradientPicture;
  const Rect rect{0, 0, 400, 200};
  const std::tuple<double, Point, Point> cases[] = {{0, {200, 200}, {200, 0}},
                                                    {90, {0, 100}, {400, 100}},
                                                    {180, {200, 0}, {200, 200}},
                                                    {45, {50, 250}, {350, -50}},
                                                    {135, {50, -50}, {350, 250}}};
  for (const auto& [angle, start, end] : cases) {
    const auto found = endpoints({angle}, rect);
    EXPECT_NEAR(found.start.x, start.x, 1e-9) << angle;
    EXPECT_NEAR(found.start.y, start.y, 1e-9) << angle;
    EXPECT_NEAR(found.end.x, end.x, 1e-9) << angle;
    EXPECT_NEAR(found.end.y, end.y, 1e-9) << angle;
  }
  EXPECT_DOUBLE_EQ(radialRadius({0.25, 0}, rect), std::hypot(300, 200));

  const SerializableColor red{1, 0, 0}, blue{0, 0, 1}, clear{0, 0, 1, 0};
  const auto pixel = [](const GradientPreset& gradient, int x, int y) {
    return pixelAt(*draw(gradient, 100, 50), x, y);
  };
  const GradientPreset stops{"", LinearGradient{90}, {{blue, 0.75}, {red, 0.25}}};  // in any order
  EXPECT_EQ(pixel(stops, 10, 20), 0xFFFF0000) << "before its start";
  EXPECT_EQ(pixel(stops, 90, 20), 0xFF0000FF) << "and past its end it goes on";
  EXPECT_NEAR(static_cast<int>(pixel(stops, 50, 3) >> 16 & 0xFF), 127, 2);
  const GradientPreset burst{"", RadialGradient{1, 1}, {{red, 0}, {red, 0.5}, {blue, 0.5}}};
  EXPECT_EQ(pixel(burst, 99, 49), 0xFFFF0000);
  EXPECT_EQ(pixel(burst, 60, 10),
            0xFFFF0000 ^ (std::hypot(39.5, 39.5) > std::hypot(100, 50) / 2 ? 0xFF00FF : 0));
  EXPECT_EQ(pixel(burst, 1, 1), 0xFF0000FF);
  EXPECT_EQ(pixel({"", LinearGradient{0}, {}}, 5, 5), 0xFF000000);
  const auto half = pixel({"", LinearGradient{90}, {{red, 0}, {clear, 1}}}, 50, 10);
  EXPECT_NEAR(static_cast<int>(half >> 24), 126, 3);
  EXPECT_EQ(half & 0xFF, 0u) << "nothing of a colour that is not seen";
}

TEST(VideoBackgroundStyling, ReadsADocumentsLengthsForAShortSideOf360) {
  ProjectVideoEditorState state;
  state.padding = 18, state.borderRadius = 36, state.backgroundBlur = 9, state.inset = 25;
  const auto styling = VideoBackgroundStyling::of(state);
  EXPECT_EQ((std::array{styling.paddingRatio, styling.borderRadiusRatio, styling.backgroundBlurRatio,
                        styling.inset.amountRatio, styling.shadowIntensity}),
            (std::array{0.05, 0.1, 0.025, 0.25, 0.35}));
}

TEST(FacecamLayer, ShrinksCornersAndBorderOnTheWay) {
  CompositionScene scene{.canvas = {200, 100},
                         .camera = FacecamSettings{.size = 40, .borderWidth = 10, .margin = 0}};
  const auto instruction = scene.instruction();
  const auto bubble = FacecamBubble::of(scene.canvas, *scene.camera);
  const auto picture = scene.frames()[1].picture;
  // The camera's own place, the corners' radius and how many images it takes.
  const std::tuple<double, Rect, double, std::size_t> cases[] = {
      {0, {160, 60, 40, 40}, 20, 2}, {0.5, {80, 30, 120, 70}, 10, 3}, {1, {0, 0, 200, 100}, 0, 1}};
  for (const auto& [amount, frame, radius, count] : cases) {
    std::vector<Image> images;
    FacecamLayer::append(images, *instruction, bubble, amount, picture);
    ASSERT_EQ(images.size(), count) << amount;
    const auto& outermost = images.front();
    expectNear(outermost.bounds(), frame, std::to_string(amount));
    EXPECT_NEAR(outermost.mask->radiusX * outermost.toCanvas.a, radius, 1e-9) << amount;
  }
}

TEST(WallpaperImageCache, ReadsPicturesOfItsFolderOnly) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() / "inner");
  const auto picture = PaintedPicture::paint(4, 3, PixelFormat::bgra, {}, PaintedPicture::desktop(4, 3));
  PNGImage::write(*picture, folder.path() / "outside.png");
  PNGImage::write(*picture, folder.path() / "inner/sea.png");
  WallpaperImageCache cache(folder.path() / "inner");
  ASSERT_NE(cache.image("sea"), nullptr);
  EXPECT_EQ(pixelsOf(*cache.image("sea")), pixelsOf(*picture));
  EXPECT_EQ(cache.image("sea"), cache.image("sea")) << "read once";
  for (const std::string name : {"", "land", "../outside", "sea.png"})
    EXPECT_EQ(cache.image(name), nullptr) << name;
}

TEST(WallpaperFolder, LiesBesideABuiltProgramAndInThePrefixOfAnInstalledOne) {
  const TemporaryFolder folder;
  const auto program = folder.path() / "bin/quillant", built = folder.path() / "bin/wallpapers";
  EXPECT_EQ(wallpaperFolder(program), folder.path() / "share/quillant/wallpapers");
  std::filesystem::create_directories(built);
  EXPECT_EQ(wallpaperFolder(program), built);
  // This build's own; an opaque format, so that nothing is drawn where a wallpaper hides it.
  const auto first = WallpaperImageCache(wallpaperFolder()).image("wallpaper1");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->format, PixelFormat::bgra);
}

}  // namespace
}  // namespace quillant
