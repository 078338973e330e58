#include <csignal>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <memory>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Linux/Input/X11Input.h"
#include "Linux/Input/X11Time.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {

namespace {

constexpr MediaTime ms(std::int64_t count) {
  return {count, 1000};
}

class Input : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display = std::make_unique<VirtualDisplay>(1600, 900);
    connection = std::make_unique<X11Connection>(display->name());
  }
  X11Input& watch(const X11Input::Origin& origin) { return input.emplace(*connection, origin); }
  /// What is told: "l+" for the left button going down, "r-" for the right one going up.
  ClickEventSource::Handler teller() {
    return [this](const ClickEvent& event) {
      told += rawText(event.button).substr(0, 1);
      told += event.kind == ClickEvent::Kind::down ? '+' : '-';
      lastTime = event.hostTime;
    };
  }
  int run(const std::string& words) const { return display->run({"sh", "-c", words}); }

  std::unique_ptr<VirtualDisplay> display;
  std::unique_ptr<X11Connection> connection;
  std::optional<X11Input> input;
  std::string told;
  MediaTime lastTime;
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

TEST_F(Input, CountsFromTheCornerOfWhatIsRecorded) {
  ASSERT_EQ(run("xdotool mousemove 801 100"), 0);
  const auto at = watch({connection->root(), {600, 400}, 2}).read();
  EXPECT_EQ(at.location, (Point{100.5, -150}));
  EXPECT_EQ(at.liveRegion, std::nullopt);

  X11Connection x(display->name());
  const xcb_window_t window = xcb_generate_id(x.get());
  xcb_create_window(x.get(), 0, window, x.root(), 100, 60, 300, 200, 10, XCB_WINDOW_CLASS_INPUT_OUTPUT, 0, 0,
                    nullptr);
  watch({.window = window, .scale = 2});
  const auto isAt = [&](Point location, const Rect& region) {
    x.wait(xcb_get_input_focus_reply, xcb_get_input_focus(x.get()));
    const auto now = input->read();
    return now.location == location && now.liveRegion == region;
  };
  EXPECT_TRUE(isAt({345.5, 15}, {0, 0, 150, 100}));  // not mapped yet, and without its border
  const std::uint32_t place[] = {static_cast<std::uint32_t>(-20), 30, 500, 80};
  xcb_configure_window(
      x.get(), window,
      XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, place);
  EXPECT_TRUE(isAt({405.5, 30}, {0, 0, 250, 40}));
  xcb_destroy_window(x.get(), window);
  EXPECT_TRUE(isAt({405.5, 30}, {0, 0, 250, 40}));  // as it was
}

TEST_F(Input, HearsOfClicksUnderAGrabUntilItIsStopped) {
  ASSERT_EQ(run("xmodmap -e 'pointer = 3 2 1 4 5 6 7 8 9 10'"), 0);
  watch({.window = connection->root()});
  const MediaTime before = HostClock::now();
  ASSERT_TRUE(input->start(teller()));
  X11Connection other(display->name());
  const auto grab =
      other.wait(xcb_grab_pointer_reply,
                 xcb_grab_pointer(other.get(), 0, other.root(), XCB_EVENT_MASK_BUTTON_PRESS,
                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 0));
  ASSERT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
  const auto tells = [&](const std::string& text) {
    return eventually([&] { return input->read(), told == text; });
  };
  ASSERT_EQ(run("xdotool click 2 click 4 click 5 click 3 mousedown 1"), 0);
  EXPECT_TRUE(input->read().rightDown);
  ASSERT_EQ(run("xdotool mouseup 1"), 0);
  EXPECT_TRUE(tells("l+l-r+r-")) << told;
  ASSERT_EQ(run("xmodmap -e 'pointer = 1 2 3 4 5 6 7 8 9 10'"), 0);  // while it listens
  input->read();
  ASSERT_EQ(run("xdotool mousedown 1"), 0);
  EXPECT_TRUE(tells("l+l-r+r-l+")) << told;
  // The server rounds its time down, to a few milliseconds on some machines.
  EXPECT_GT(lastTime, before - ms(20));
  EXPECT_LE(lastTime, HostClock::now());

  ASSERT_EQ(run("xdotool mouseup 1 click 3"), 0);
  input->stop();
  EXPECT_EQ(told, "l+l-r+r-l+l-r+r-");
  ASSERT_EQ(run("xdotool click 1"), 0);
  input->read();
  EXPECT_EQ(told, "l+l-r+r-l+l-r+r-");
}

TEST_F(Input, StaysWhereItWasWhileTheServerHangsAndOnceItHasGone) {
  ASSERT_EQ(run("xdotool mousemove 30 40 mousedown 1"), 0);
  watch({.window = connection->root()});
  ASSERT_TRUE(input->start(teller()));
  EXPECT_EQ(input->read().location, (Point{30, 40}));
  ::kill(display->processID(), SIGSTOP);
  const MediaTime begin = HostClock::now();
  for (int sample = 0; sample < 3; ++sample) {
    EXPECT_EQ(input->read().location, (Point{30, 40}));
    EXPECT_TRUE(input->read().leftDown);
  }
  EXPECT_LT(HostClock::now() - begin, ms(5000));  // and not as long as for an answer that is needed
  ::kill(display->processID(), SIGCONT);
  ASSERT_EQ(run("xdotool mouseup 1 mousemove 50 60"), 0);
  EXPECT_TRUE(eventually([&] { return input->read().location == Point{50, 60}; }));
  EXPECT_EQ(told, "l-");
  display->kill();
  EXPECT_EQ(input->read().location, (Point{50, 60}));
  input->stop();
}

TEST_F(Input, RecordsClicksWhereAndHowOftenTheyWereMade) {
  watch({connection->root(), {0, 500}, 2});
  CursorTelemetryRecorder recorder({.region = {0, 0, 300, 200}, .source = [this] { return input->read(); }},
                                   &*input);
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
