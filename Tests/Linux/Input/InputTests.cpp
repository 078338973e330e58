#include <gmock/gmock.h>
#include <limits>
#include <mutex>
#include <thread>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Linux/Input/X11ClickEventSource.h"
#include "Linux/Input/X11Pointer.h"
#include "Linux/Input/X11Time.h"
#include "Linux/Input/X11WindowFrameProbe.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {

namespace {

using testing::ElementsAre;

template <class Condition>
bool eventually(Condition&& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// A click event source's handlers that keep what they are told.
class Told {
 public:
  ClickEventSource::Handlers handlers() {
    return {.onEvent =
                [this](const ClickEvent& event) {
                  const std::lock_guard guard(lock_);
                  events_.push_back(event);
                },
            .onLost = [this] { lost = true; }};
  }
  std::vector<ClickEvent> events() {
    const std::lock_guard guard(lock_);
    return events_;
  }
  std::string text() {
    std::string result;
    for (const auto& event : events())
      result += std::string(rawText(event.button).substr(0, 1)) +
                (event.kind == ClickEvent::Kind::down ? "+" : "-");
    return result;
  }

  std::atomic<bool> lost = false;

 private:
  std::mutex lock_;
  std::vector<ClickEvent> events_;
};

class Input : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display = std::make_unique<VirtualDisplay>(1600, 900);
  }

  /// A main monitor lower right, one left of it and one above it, at scale 2.
  void arrangeMonitors() {
    ASSERT_EQ(run("xrandr --setmonitor LEFT 600/160x400/100+0+500 none"), 0);
    ASSERT_EQ(run("xrandr --setmonitor *MAIN 1000/260x500/130+600+400 screen"), 0);
    ASSERT_EQ(run("xrandr --setmonitor ABOVE 1000/260x400/100+600+0 none"), 0);
    ASSERT_EQ(run("sh -c", "echo Xft.dpi: 192 | xrdb -merge"), 0);
  }

  int run(const std::string& words, const std::string& lastWord = {}) {
    std::istringstream stream(words);
    std::vector<std::string> command{std::istream_iterator<std::string>(stream), {}};
    if (!lastWord.empty()) command.push_back(lastWord);
    return display->run(command);
  }

  std::unique_ptr<VirtualDisplay> display;
};

TEST(X11Time, ExtendsTheServersMillisecondsToTheHostClock) {
  constexpr std::int64_t wrap = std::int64_t{1} << 32;
  const struct {
    xcb_timestamp_t stamp;
    MediaTime now;
    MediaTime expected;
  } cases[] = {
      {999, {1'000'500, 1'000'000}, {999, 1000}},
      {1002, {1000, 1000}, {1002, 1000}},  // the two clocks are read one after the other
      {4'294'967'290U, {wrap + 4, 1000}, {wrap - 6, 1000}},
      {3, {wrap * 3 + 5, 1000}, {wrap * 3 + 3, 1000}},
      {5, {wrap - 5, 1000}, {wrap + 5, 1000}},
      {500'000, {1000, 1000}, {1000, 1000}},  // another clock
      {3'000'000'000U, {1000, 1000}, {1000, 1000}},
  };
  for (const auto& [stamp, now, expected] : cases)
    EXPECT_EQ(X11Time::hostTime(stamp, now), expected) << stamp;
}

TEST_F(Input, ReadsThePointerInPointsOfTheMainDisplay) {
  X11Pointer plain(display->name());
  ASSERT_EQ(run("xdotool mousemove 123 45"), 0);
  EXPECT_EQ(plain.read().location, (Point{123, 45}));

  arrangeMonitors();
  X11Pointer pointer(display->name());
  const struct {
    const char* move;
    Point expected;
  } cases[] = {{"xdotool mousemove 701 501", {50.5, 50.5}},
               {"xdotool mousemove 100 600", {-250, 100}},
               {"xdotool mousemove 800 100", {100, -150}}};
  for (const auto& [move, expected] : cases) {
    ASSERT_EQ(run(move), 0);
    EXPECT_EQ(pointer.read().location, expected) << move;
  }
  // The first one notices the new arrangement by itself.
  EXPECT_TRUE(eventually([&] { return plain.read().location == pointer.read().location; }));

  ASSERT_EQ(run("xdotool mousedown 1"), 0);
  EXPECT_TRUE(pointer.read().leftDown);
  EXPECT_FALSE(pointer.read().rightDown);
  ASSERT_EQ(run("xdotool mousedown 3 mouseup 1"), 0);
  EXPECT_FALSE(pointer.read().leftDown);
  EXPECT_TRUE(pointer.read().rightDown);
}

TEST_F(Input, HearsOfClicksUnderAGrabAndOfNoOtherButtons) {
  const auto source = makeX11ClickEventSource(display->name());
  Told told;
  const MediaTime before = HostClock::now();
  ASSERT_TRUE(source->start(told.handlers()));
  X11Connection other(display->name());
  const auto grab =
      other.wait(xcb_grab_pointer_reply,
                 xcb_grab_pointer(other.get(), 0, other.root(), XCB_EVENT_MASK_BUTTON_PRESS,
                                  XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 0));
  ASSERT_EQ(grab->status, XCB_GRAB_STATUS_SUCCESS);
  ASSERT_EQ(run("xdotool click 2 click 4 click 5 click 1 click 3"), 0);
  EXPECT_TRUE(eventually([&] { return told.events().size() >= 4; }));
  EXPECT_EQ(told.text(), "l+l-r+r-");
  // The server rounds its time down, to a few milliseconds on some machines.
  for (const auto& event : told.events()) {
    EXPECT_GT(event.hostTime, before - MediaTime(20, 1000));
    EXPECT_LE(event.hostTime, HostClock::now());
  }
}

TEST_F(Input, FollowsTheUsersChoiceOfTheLeftButton) {
  ASSERT_EQ(run("xmodmap -e", "pointer = 3 2 1 4 5 6 7 8 9 10"), 0);
  const auto source = makeX11ClickEventSource(display->name());
  Told told;
  ASSERT_TRUE(source->start(told.handlers()));
  X11Pointer pointer(display->name());
  ASSERT_EQ(run("xdotool mousedown 1"), 0);
  EXPECT_TRUE(pointer.read().rightDown);
  ASSERT_EQ(run("xdotool mouseup 1"), 0);
  EXPECT_TRUE(eventually([&] { return told.text() == "r+r-"; })) << told.text();
  ASSERT_EQ(run("xmodmap -e", "pointer = 1 2 3 4 5 6 7 8 9 10"), 0);  // while it listens
  ASSERT_EQ(run("xdotool click 1"), 0);
  EXPECT_TRUE(eventually([&] { return told.text() == "r+r-l+l-"; })) << told.text();
}

TEST_F(Input, StaysQuietOnceStoppedAndSurvivesTheServersEnd) {
  Told stopped;
  Told told;
  const auto ended = makeX11ClickEventSource(display->name());
  ended->stop();
  ASSERT_TRUE(ended->start(stopped.handlers()));
  ended->stop();
  const auto source = makeX11ClickEventSource(display->name());
  ASSERT_TRUE(source->start(told.handlers()));
  X11Pointer pointer(display->name());
  X11WindowFrameProbe probe(display->name());
  ASSERT_EQ(run("xdotool mousemove 5 6 click 1"), 0);
  EXPECT_TRUE(eventually([&] { return told.events().size() == 2; }));
  EXPECT_TRUE(stopped.events().empty());
  EXPECT_EQ(pointer.read().location, (Point{5, 6}));
  EXPECT_EQ(probe.frame(0x7fffff), std::nullopt);

  display->kill();
  EXPECT_TRUE(eventually([&] { return told.lost.load(); }));
  EXPECT_FALSE(stopped.lost);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(pointer.read().location, (Point{0, 0}));
    EXPECT_EQ(probe.frame(1), std::nullopt);
  }
  EXPECT_FALSE(makeX11ClickEventSource(display->name())->start(told.handlers()));
}

TEST_F(Input, RecordsClicksWhereAndHowOftenTheyWereMade) {
  arrangeMonitors();
  X11Pointer pointer(display->name());
  // The display left of the main one.
  CursorTelemetryRecorder recorder({.region = {-300, 50, 300, 200}, .source = [&] { return pointer.read(); }},
                                   makeX11ClickEventSource(display->name()));
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

  using Click = std::tuple<std::int64_t, std::int64_t, std::string, std::int64_t>;
  std::vector<Click> clicks;
  for (const auto& click : payload().clicks)
    clicks.emplace_back(click.x, click.y, click.button, click.clickCount);
  EXPECT_THAT(clicks,
              ElementsAre(Click{10, 20, "left", 1}, Click{10, 20, "left", 2}, Click{10, 20, "right", 1},
                          Click{10, 20, "left", 1}, Click{300, 200, "left", 1}, Click{300, 100, "right", 1}));
  EXPECT_TRUE(recorder.clickDiagnostics().fromSystemEvents);
}

TEST_F(Input, FindsAWindowWhereverItIsMoved) {
  arrangeMonitors();
  X11Connection x(display->name());
  const xcb_window_t window = xcb_generate_id(x.get());
  xcb_create_window(x.get(), 0, window, x.root(), 100, 600, 300, 200, 10, XCB_WINDOW_CLASS_INPUT_OUTPUT, 0, 0,
                    nullptr);
  X11WindowFrameProbe probe(display->name());
  const auto settle = [&] { x.wait(xcb_get_input_focus_reply, xcb_get_input_focus(x.get())); };

  settle();
  EXPECT_EQ(probe.frame(window), (Rect{-245, 105, 150, 100}));  // not mapped yet, and without its border
  const std::uint32_t place[] = {static_cast<std::uint32_t>(-20), 30, 400, 100};
  xcb_configure_window(
      x.get(), window,
      XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, place);
  settle();
  EXPECT_EQ(probe.frame(window), (Rect{-305, -180, 200, 50}));
  xcb_destroy_window(x.get(), window);
  settle();
  EXPECT_EQ(probe.frame(window), std::nullopt);
}

}  // namespace
}  // namespace quillant
