#include <atomic>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <mutex>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Linux/Input/X11ClickEventSource.h"
#include "Linux/Input/X11Pointer.h"
#include "Linux/Input/X11Time.h"
#include "Linux/Input/X11WindowFrameProbe.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {

namespace {

constexpr MediaTime ms(std::int64_t count) {
  return {count, 1000};
}

/// What a click event source tells: "l+" for the left button going down, "r-" for the right one going up.
struct Told {
  ClickEventSource::Handlers handlers() {
    return {.onEvent =
                [this](const ClickEvent& event) {
                  const std::lock_guard guard(lock);
                  events += rawText(event.button).substr(0, 1);
                  events += event.kind == ClickEvent::Kind::down ? '+' : '-';
                  lastTime = event.hostTime;
                },
            .onLost = [this] { lost = true; }};
  }
  std::string text() {
    const std::lock_guard guard(lock);
    return events;
  }

  std::mutex lock;
  std::string events;
  MediaTime lastTime;
  std::atomic<bool> lost = false;
};

class Input : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display = std::make_unique<VirtualDisplay>(1600, 900);
    pointer.emplace(display->name());
    source = makeX11ClickEventSource(display->name());
  }

  /// A main monitor lower right, one left of it and one above it, at scale 2.
  void arrangeMonitors() {
    for (const char* command :
         {"xrandr --setmonitor LEFT 600/160x400/100+0+500 none",
          "xrandr --setmonitor '*MAIN' 1000/260x500/130+600+400 screen",
          "xrandr --setmonitor ABOVE 1000/260x400/100+600+0 none", "echo Xft.dpi: 192 | xrdb -merge"})
      ASSERT_EQ(run(command), 0) << command;
  }

  int run(const std::string& words) const { return display->run({"sh", "-c", words}); }

  std::unique_ptr<VirtualDisplay> display;
  std::optional<X11Pointer> pointer;
  std::unique_ptr<ClickEventSource> source;
};

TEST(X11Time, ExtendsTheServersMillisecondsToTheHostClock) {
  constexpr std::int64_t wrap = std::int64_t{1} << 32;
  const auto hostTime = [](std::int64_t stamp, std::int64_t now) {
    return X11Time::hostTime(static_cast<xcb_timestamp_t>(stamp), ms(now)).converted(1000).value;
  };
  EXPECT_EQ(hostTime(1002, 1000), 1002);  // the two clocks are read one after the other
  EXPECT_EQ(hostTime(wrap - 6, wrap + 4), wrap - 6);
  EXPECT_EQ(hostTime(3, 3 * wrap + 5), 3 * wrap + 3);
  EXPECT_EQ(hostTime(5, wrap - 5), wrap + 5);
  EXPECT_EQ(hostTime(500'000, 1000), 1000);  // another clock
  EXPECT_EQ(hostTime(wrap - 500'000, 1000), 1000);
}

TEST_F(Input, FindsPointerAndWindowsInPointsOfTheMainDisplay) {
  ASSERT_EQ(run("xdotool mousemove 801 100"), 0);
  EXPECT_EQ(pointer->read().location, (Point{801, 100}));
  arrangeMonitors();
  EXPECT_TRUE(eventually([&] { return pointer->read().location == Point{100.5, -150}; }));  // it looks again

  X11Connection x(display->name());
  const xcb_window_t window = xcb_generate_id(x.get());
  xcb_create_window(x.get(), 0, window, x.root(), 100, 600, 300, 200, 10, XCB_WINDOW_CLASS_INPUT_OUTPUT, 0, 0,
                    nullptr);
  X11WindowFrameProbe probe(display->name());
  const auto isAt = [&](const std::optional<Rect>& frame) {
    xcb_flush(x.get());
    return eventually([&] { return probe.frame(window) == frame; });
  };
  EXPECT_TRUE(isAt(Rect{-245, 105, 150, 100}));  // not mapped yet, and without its border
  const std::uint32_t place[] = {static_cast<std::uint32_t>(-20), 30};
  xcb_configure_window(x.get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, place);
  EXPECT_TRUE(isAt(Rect{-305, -180, 150, 100}));
  xcb_destroy_window(x.get(), window);
  EXPECT_TRUE(isAt(std::nullopt));
}

TEST_F(Input, HearsOfClicksUnderAGrabUntilItIsStoppedOrTheServerEnds) {
  ASSERT_EQ(run("xmodmap -e 'pointer = 3 2 1 4 5 6 7 8 9 10'"), 0);
  Told stopped;
  const auto ended = makeX11ClickEventSource(display->name());
  ASSERT_TRUE(ended->start(stopped.handlers()));
  ended->stop();
  Told told;
  const MediaTime before = HostClock::now();
  ASSERT_TRUE(source->start(told.handlers()));
  X11Connection other(display->name());
  const auto grab =
      other.wait(xcb_grab_pointer_reply,
                 xcb_grab_pointer(other.get(), 0, other.root(), XCB_EVENT_MASK_BUTTON_PRESS,
                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 0));
  ASSERT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
  ASSERT_EQ(run("xdotool click 2 click 4 click 5 click 3 mousedown 1"), 0);
  EXPECT_TRUE(pointer->read().rightDown);
  ASSERT_EQ(run("xdotool mouseup 1"), 0);
  EXPECT_TRUE(eventually([&] { return told.text() == "l+l-r+r-"; })) << told.text();
  ASSERT_EQ(run("xmodmap -e 'pointer = 1 2 3 4 5 6 7 8 9 10'"), 0);  // while it listens
  ASSERT_EQ(run("xdotool mousedown 1"), 0);
  EXPECT_TRUE(pointer->read().leftDown);
  EXPECT_TRUE(eventually([&] { return told.text() == "l+l-r+r-l+"; })) << told.text();
  // The server rounds its time down, to a few milliseconds on some machines.
  EXPECT_GT(told.lastTime, before - ms(20));
  EXPECT_LE(told.lastTime, HostClock::now());

  display->kill();
  EXPECT_TRUE(eventually([&] { return told.lost.load(); }));
  EXPECT_EQ(stopped.text(), "");
  EXPECT_FALSE(stopped.lost);
  EXPECT_EQ(pointer->read().location, Point{});
  EXPECT_EQ(X11WindowFrameProbe(display->name()).frame(1), std::nullopt);
  EXPECT_FALSE(makeX11ClickEventSource(":60000")->start(told.handlers()));
}

TEST_F(Input, RecordsClicksWhereAndHowOftenTheyWereMade) {
  arrangeMonitors();
  // The display left of the main one.
  CursorTelemetryRecorder recorder(
      {.region = {-300, 50, 300, 200}, .source = [this] { return pointer->read(); }}, std::move(source));
  recorder.start();
  const auto payload = [&] { return recorder.payload(MediaTime::zero()); };
  const auto clicksAt = [&](const std::string& position, const std::string& clicks, std::size_t count) {
    ASSERT_EQ(run("xdotool mousemove " + position), 0);
    // A click takes the place of the sample after it: the pointer rests before and after.
    const std::size_t samples = payload().samples.size();
    EXPECT_TRUE(eventually([&] { return payload().samples.size() > samples; }));
    ASSERT_EQ(run("xdotool " + clicks), 0);
    EXPECT_TRUE(eventually([&] { return payload().clicks.size() == count; }));
  };
  clicksAt("20 540", "click --repeat 2 --delay 60 1 sleep 0.06 click 3 sleep 0.06 click 1", 4);
  clicksAt("599 899", "sleep 0.6 click 1", 5);
  clicksAt("1200 700", "click 3", 6);  // on another display: on the region's edge
  recorder.stop();
  std::string clicks;
  for (const auto& click : payload().clicks)
    clicks += fmt::format("{}{},{}x{} ", click.button[0], click.x, click.y, click.clickCount);
  EXPECT_EQ(clicks, "l10,20x1 l10,20x2 r10,20x1 l10,20x1 l300,200x1 r300,100x1 ");
}

}  // namespace
}  // namespace quillant
