#include <csignal>
#include <gmock/gmock.h>
#include <xcb/xinput.h>

#include "Linux/Screen/X11ScreenService.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

class ScreenSessionTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display.emplace(700, 400);
    // A display on the left, and the main one on the right and lower, at scale 2.
    run("xrandr --setmonitor LEFT 300/80x200/53+0+0 none");
    run("xrandr --setmonitor '*MAIN' 400/106x300/80+300+100 screen");
    run("echo Xft.dpi: 192 | xrdb -merge");
    service.emplace(display->name(), std::chrono::milliseconds(500));
  }
  void run(const std::string& words) { ASSERT_EQ(display->run({"sh", "-c", words}), 0) << words; }
  std::unique_ptr<ScreenSession> open(const CaptureOptions& options = {}) {
    return runBlocking(service->openSession(options));
  }
  std::string whyNot(const CaptureOptions& options = {}) {
    try {
      open(options);
      return "opened";
    } catch (const ScreenError& error) {
      return error.description();
    }
  }

  std::optional<VirtualDisplay> display;
  std::optional<X11ScreenService> service;
};

TEST_F(ScreenSessionTest, KeepsTheLayoutItWasOpenedWith) {
  const auto displays = service->content().displays;
  ASSERT_EQ(displays.size(), 2U);
  EXPECT_TRUE(displays[0].isMain && !displays[1].isMain);
  EXPECT_EQ(displays[1].frame, (Rect{-150, -50, 150, 100}));

  const auto whole = open();
  const auto area = open({.area = CaptureArea{20, 30, 60, 40}});  // 80 points from the main display's top
  const auto left = open({.displayID = displays[1].id});
  EXPECT_EQ(whole->source(), (RecordedSource{400, 300, {200, 150}}));
  EXPECT_EQ(area->source(), (RecordedSource{120, 80, {60, 40}}));
  EXPECT_EQ(left->source(), (RecordedSource{300, 200, {150, 100}}));
  const auto expectThePointerInPlace = [&] {
    EXPECT_EQ(whole->pointer().location, (Point{25, 85}));
    EXPECT_EQ(area->pointer().location, (Point{5, 5}));
    EXPECT_EQ(left->pointer().location, (Point{175, 135}));
  };
  run("xdotool mousemove 350 270");
  expectThePointerInPlace();
  run("xrandr --setmonitor '*PROJECTOR' 100/26x100/26+0+300 none");  // the main one from now on
  run("echo Xft.dpi: 96 | xrdb -merge");
  EXPECT_NE(service->content().displays, displays);
  expectThePointerInPlace();
}

TEST_F(ScreenSessionTest, OpensInABoundedTimeAlthoughTheServerHangs) {
  ::kill(display->processID(), SIGSTOP);
  EXPECT_EQ(whyNot(), "the display server '" + display->name() + "' does not answer");
  EXPECT_THROW(service->content(), ScreenError);
  ::kill(display->processID(), SIGCONT);
  EXPECT_EQ(whyNot(), "opened");
}

TEST_F(ScreenSessionTest, RefusesTheServerOfAWaylandSession) {
  // It is known by what its devices are called.
  struct {
    xcb_input_add_master_t head{XCB_INPUT_HIERARCHY_CHANGE_TYPE_ADD_MASTER, 7, 19, 1, 1};
    char name[20] = "xwayland-pointer:12";
  } device;
  X11Connection x(display->name());
  x.wait(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(x.get(), 2, 0));
  ASSERT_TRUE(x.firstEvent(xcb_input_id));
  ASSERT_TRUE(x.succeeded(xcb_input_xi_change_hierarchy_checked(
      x.get(), 1, reinterpret_cast<xcb_input_hierarchy_change_t*>(&device))));
  EXPECT_THAT(whyNot(), testing::StartsWith("this is a Wayland session"));
  EXPECT_THROW(service->content(), ScreenError);
  // Without an X server there is only the environment to tell.
  ::unsetenv("DISPLAY");
  ::setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  service.emplace();
  EXPECT_THAT(whyNot(), testing::StartsWith("this is a Wayland session"));
  ::unsetenv("WAYLAND_DISPLAY");
  EXPECT_EQ(whyNot(), "there is no display server: DISPLAY is not set");
}

TEST_F(ScreenSessionTest, RefusesAWindowWithoutPixelsBeforeAnythingIsMade) {
  X11Connection x(display->name());
  const xcb_window_t window = xcb_generate_id(x.get());
  ASSERT_TRUE(
      x.succeeded(xcb_create_window_checked(x.get(), 0, window, x.root(), 0, 0, 80, 60, 0,
                                            XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr)));
  ASSERT_TRUE(x.succeeded(xcb_map_window_checked(x.get(), window)));
  EXPECT_EQ(whyNot({.windowID = window}),
            "window " + std::to_string(window) + " has no pixels of 8 bits a colour that could be recorded");
}

}  // namespace
}  // namespace quillant
