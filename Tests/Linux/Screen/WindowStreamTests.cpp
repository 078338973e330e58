#include "Linux/Screen/X11ScreenService.h"
#include "MediaKit/Pictures/BGRAScaler.h"
#include "Tests/Linux/Screen/ScreenFixture.h"

namespace quillant {
namespace {

constexpr std::uint32_t red = 0xc02010;
constexpr std::uint32_t green = 0x20c010;
constexpr std::uint32_t blue = 0x1020c0;
constexpr std::uint32_t black = 0;

/// A window of 101 by 81 at 50, 40, recorded at 100 by 80.
class WindowStream : public ScreenFixture {
 protected:
  void SetUp() override {
    ScreenFixture::SetUp();
    if (IsSkipped()) return;
    window = makeWindow({50, 40, 101, 81}, red);
    picture.fill({0, 0, 100, 80}, red);
  }

  void record(xcb_window_t recorded) {
    StreamRequest request{{.width = 100, .height = 80, .minimumFrameInterval = {1, 500}}, {}};
    request.target.window = recorded;
    start(request);
  }
  void drawInside(const PixelRect& rect, std::uint32_t color) {
    draw({{rect, color}}, window);
    picture.fill(rect, color);
  }

  xcb_window_t window = XCB_NONE;
  Grid picture{100, 80};
};

TEST_F(WindowStream, ShowsTheWindowAloneWhateverCoversIt) {
  record(window);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  makeWindow({40, 30, 60, 200}, blue);  // covers the left half
  const auto inside = makeWindow({10, 50, 20, 10}, green, window);
  picture.fill({10, 50, 20, 10}, green);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  drawInside({5, 5, 20, 20}, blue);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  EXPECT_EQ(frames.wait(1)->changed, (std::vector<PixelRect>{{4, 4, 22, 22}}));

  // Moved partly beyond the screen, it is still whole.
  configure(window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, {350, static_cast<std::uint32_t>(-30)});
  drawInside({60, 0, 40, 20}, green);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  configure(inside, XCB_CONFIG_WINDOW_X, {70});
  picture.fill({10, 50, 20, 10}, red);
  picture.fill({70, 50, 20, 10}, green);
  EXPECT_TRUE(frames.waitUntilShown(picture));
}

TEST_F(WindowStream, FitsAResizedWindowFromTheTopLeft) {
  const auto resized = [&](int width, int height) {
    configure(window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
              {static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height)});
    draw({{{0, 0, 400, 300}, red}, {{7, 9, 41, 33}, green}}, window);
    Grid source(width, height);
    source.fill({0, 0, width, height}, red);
    source.fill({7, 9, 41, 33}, green);
    return source;
  };
  record(window);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  auto tall = resized(200, 240);  // three times too high: the whole shrinks to a third
  scaleBGRA(tall.plane(), 200, 240, picture.plane(), 67, 80, {0, 0, 67, 80});
  picture.fill({67, 0, 33, 80}, black);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  EXPECT_TRUE(frames.waitUntilShown(resized(60, 50).crop({0, 0, 100, 80})));
  EXPECT_TRUE(frames.waitUntilShown(resized(101, 81).crop({0, 0, 100, 80})));
}

TEST_F(WindowStream, KeepsTheLastPictureWhileTheWindowIsNotShown) {
  const auto frame = makeWindow({10, 10, 200, 200}, blue);
  xcb_reparent_window(x->get(), window, frame, 20, 20);
  xcb_unmap_window(x->get(), window);
  flush();
  record(window);  // before there is anything to see
  map(window);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  // Hidden by itself, then with its frame, as window managers do it.
  for (const auto hidden : {window, frame}) {
    xcb_unmap_window(x->get(), hidden);
    draw({{{0, 0, 400, 300}, green}});
    map(hidden);
    picture.fill({0, 0, 100, 80}, red);  // shown again, it begins empty
    drawInside({7, 9, 30, 30}, hidden == window ? green : blue);
    EXPECT_TRUE(frames.waitUntilShown(picture));
  }
}

TEST_F(WindowStream, EndsWhenTheWindowIsClosed) {
  record(window);
  ASSERT_TRUE(frames.wait(1));
  xcb_destroy_window(x->get(), window);
  flush();
  EXPECT_EQ(frames.waitForEnd(), ScreenError::Kind::windowClosed);
  EXPECT_THROW(record(window), ScreenError);
}

TEST_F(WindowStream, LeavesTheBorderOut) {
  configure(window, XCB_CONFIG_WINDOW_BORDER_WIDTH, {7});
  const auto info = X11ScreenService(display->name()).content().windows.front();
  EXPECT_EQ(info.frame, (Rect{57, 47, 101, 81}));
  record(info.id);
  EXPECT_TRUE(frames.waitUntilShown(picture));
  configure(window, XCB_CONFIG_WINDOW_BORDER_WIDTH, {2});
  drawInside({0, 0, 9, 9}, black);
  EXPECT_TRUE(frames.waitUntilShown(picture));
}

}  // namespace
}  // namespace quillant
