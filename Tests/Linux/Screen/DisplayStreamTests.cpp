#include <csignal>
#include <linux/sockios.h>
#include <random>
#include <sys/ioctl.h>
#include <sys/resource.h>

#include "Core/HostClock.h"
#include "Core/PixelRects.h"
#include "MediaKit/Pictures/BGRAScaler.h"
#include "Tests/Linux/Screen/ScreenFixture.h"
#include "Tests/Support/Eventually.h"

namespace quillant {
namespace {

using DisplayStream = ScreenFixture;

/// Whether something lies in a socket of this process that the other side has not read.
bool hasUnreadRequest() {
  for (int descriptor = 3; descriptor < 256; ++descriptor) {
    int unread = 0;
    if (::ioctl(descriptor, SIOCOUTQ, &unread) == 0 && unread > 0) return true;
  }
  return false;
}

/// As `ulimit -f` sets it, while it lives.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    ::signal(SIGXFSZ, signal_);
  }

 private:
  rlimit before_{};
  sighandler_t signal_ = ::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(DisplayStream, FetchesAndTellsWhatWasDrawnAndNothingElse) {
  struct Case {
    std::vector<PixelRect> drawn;
    std::vector<PixelRect> changed;
  };
  const std::vector<Case> cases{
      {{{10, 20, 30, 40}}, {{10, 20, 30, 40}}},
      {{{11, 21, 30, 40}}, {{10, 20, 32, 42}}},
      {{{399, 299, 1, 1}}, {{398, 298, 2, 2}}},
      {{{0, 0, 400, 1}}, {{0, 0, 400, 2}}},
      {{{-20, 100, 30, 8}}, {{0, 100, 10, 8}}},
      // Two that are far apart stay two; neighbours become one.
      {{{0, 0, 60, 60}, {300, 200, 60, 60}}, {{0, 0, 60, 60}, {300, 200, 60, 60}}},
      {{{100, 100, 20, 20}, {130, 100, 20, 20}}, {{100, 100, 50, 20}}},
      {{{0, 0, 400, 200}}, {{0, 0, 400, 300}}},
  };
  auto& running = start(wholeDisplay());
  queue.sync([] {});
  ASSERT_EQ(frames.state().times.size(), 1U);  // a stream that has started has shown something
  std::uint64_t fetched = 120'000;
  std::size_t number = 1;
  EXPECT_EQ(running.pixelsFetched(), fetched);
  for (const auto& [drawn, changed] : cases) {
    std::vector<std::pair<PixelRect, std::uint32_t>> fills;
    for (const auto& rect : drawn) fills.push_back({rect, 0x0a0b0cU * static_cast<std::uint32_t>(number)});
    draw(fills);
    const auto frame = frames.wait(++number);
    ASSERT_TRUE(frame);
    EXPECT_TRUE(shows(*frame, root)) << "frame " << number;
    EXPECT_EQ(frame->changed, changed) << "frame " << number;
    for (const auto& rect : changed) fetched += static_cast<std::uint64_t>(PixelRects::area(rect));
    EXPECT_EQ(running.pixelsFetched(), fetched) << "frame " << number;
  }
}

TEST_F(DisplayStream, KeepsEveryBufferOfThePoolUpToDate) {
  std::mt19937 random(7);
  const auto upTo = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  auto configuration = wholeDisplay();
  configuration.queueDepth = 3;
  start(configuration);
  for (int round = 0; round < 120; ++round) {
    // Held in every pattern, so that each buffer has missed something else when its turn comes.
    frames.holdAll = round % 3 != 0;
    if (upTo(2) == 0 || round % 3 == 0) frames.letGo();
    draw({{{upTo(380), upTo(280), 1 + upTo(90), 1 + upTo(90)},
           static_cast<std::uint32_t>(random() & 0xffffff)}});
    if (round % 3 == 0) {
      ASSERT_TRUE(frames.waitUntilShown(root)) << "round " << round;
    }
  }
}

TEST_F(DisplayStream, NeverGoesBeyondTheRate) {
  auto configuration = wholeDisplay();
  configuration.minimumFrameInterval = {1, 40};
  start(configuration);
  for (std::uint32_t i = 0; frames.state().times.size() < 20; ++i) draw({{{0, 0, 50, 50}, i & 0xffffff}});
  stop();
  const auto times = frames.state().times;
  EXPECT_LE(static_cast<double>(times.size() - 1), (times.back() - times.front()).seconds() * 40 + 1);
}

TEST_F(DisplayStream, CutsItsDisplayOutOfTheDesktop) {
  makeDisplay(700, 400);
  // The main one is on the right and lower; the other is left of it and higher, with a negative origin.
  ASSERT_EQ(display->run({"xrandr", "--setmonitor", "LEFT", "300/80x200/53+0+0", "none"}), 0);
  ASSERT_EQ(display->run({"xrandr", "--setmonitor", "*RIGHT", "400/106x300/80+300+100", "screen"}), 0);
  auto& running = start(wholeDisplay());
  ASSERT_TRUE(frames.wait(1));
  draw({{{50, 20, 30, 30}, 0x335577}, {{311, 113, 30, 30}, 0x775533}});
  EXPECT_TRUE(frames.waitUntilShown(root.crop({300, 100, 400, 300})));
  EXPECT_EQ(running.pixelsFetched(), 120'000U + 32 * 32);
}

TEST_F(DisplayStream, LeavesBlackWhatAnAreaHasBeyondItsDisplay) {
  auto request = wholeDisplay();
  request.target.source = {300, 21, 120, 80};
  request.width = 120;
  request.height = 80;
  start(request);
  draw({{{310, 31, 200, 20}, 0xabcdef}, {{0, 0, 300, 300}, 0x112233}});
  EXPECT_TRUE(frames.waitUntilShown(root.crop({300, 21, 120, 80})));
}

TEST_F(DisplayStream, DeliversAFreshPictureOfAStillScreenOnDemand) {
  auto& running = start(wholeDisplay());
  ASSERT_TRUE(frames.wait(1));
  const MediaTime asked = HostClock::now();
  running.refresh();
  ASSERT_TRUE(frames.wait(2));
  EXPECT_GT(frames.state().times.back(), asked);
  EXPECT_TRUE(shows(*frames.wait(2), root));
  draw({{{10, 10, 10, 10}, 0x445566}});
  const auto next = frames.wait(3);  // and then goes on with what changes
  ASSERT_TRUE(next);
  EXPECT_EQ(next->changed, (std::vector<PixelRect>{{10, 10, 10, 10}}));
}

TEST_F(DisplayStream, ScalesWhatChanged) {
  auto configuration = wholeDisplay();
  configuration.width = 266;
  configuration.height = 200;
  start(configuration);
  ASSERT_TRUE(frames.wait(1));
  std::mt19937 random(3);
  for (int i = 0; i < 20; ++i) {
    draw({{{static_cast<int>(random() % 380), static_cast<int>(random() % 280), 25, 17},
           static_cast<std::uint32_t>(random() & 0xffffff)}});
    Grid scaled(266, 200);
    scaleBGRA(root.plane(), 400, 300, scaled.plane(), 266, 200, {0, 0, 266, 200});
    ASSERT_TRUE(frames.waitUntilShown(scaled));
    EXPECT_LT(PixelRects::area(frames.wait(1)->changed.at(0)), 700);
  }
}

TEST_F(DisplayStream, EndsWhenItsDisplayChangesAndOnlyThen) {
  ASSERT_EQ(display->run({"xrandr", "--setmonitor", "LEFT", "200/53x300/80+0+0", "screen"}), 0);
  ASSERT_EQ(display->run({"xrandr", "--setmonitor", "RIGHT", "200/53x300/80+200+0", "none"}), 0);
  auto configuration = wholeDisplay();
  configuration.width = 200;
  start(configuration);
  ASSERT_TRUE(frames.wait(1));
  ASSERT_EQ(display->run({"xrandr", "--setmonitor", "THIRD", "50/13x50/13+300+0", "none"}), 0);
  draw({{{0, 0, 10, 10}, 0xffffff}});
  ASSERT_TRUE(frames.wait(2));
  ASSERT_EQ(frames.state().ends.size(), 0U);
  ASSERT_EQ(display->run({"xrandr", "--delmonitor", "LEFT"}), 0);
  EXPECT_EQ(frames.waitForEnd(), ScreenError::Kind::displayChanged);
}

TEST_F(DisplayStream, EndsWhenTheServerGoesAway) {
  start(wholeDisplay());
  ASSERT_TRUE(frames.wait(1));
  display->kill();
  EXPECT_EQ(frames.waitForEnd(), ScreenError::Kind::serverLost);
  stop();
  stop();
}

TEST_F(DisplayStream, EndsWhenTheServerHangsWhileItStartsOrRuns) {
  const auto request = wholeDisplay();
  patience = std::chrono::milliseconds(500);
  start(request);
  ASSERT_TRUE(frames.wait(1));
  ::kill(display->processID(), SIGSTOP);  // while nothing is asked of it
  EXPECT_EQ(frames.waitForEnd(), ScreenError::Kind::serverLost);
  stop();
  EXPECT_THROW(start(request), ScreenError);
  ::kill(display->processID(), SIGCONT);
}

TEST_F(DisplayStream, StopsAlthoughTheServerHangs) {
  auto& running = start(wholeDisplay());
  ASSERT_TRUE(frames.wait(1));
  ::kill(display->processID(), SIGSTOP);
  EXPECT_TRUE(eventually([&] {
    running.refresh();
    return hasUnreadRequest();
  })) << "the stream does not wait for an answer";
  stop();
  ::kill(display->processID(), SIGCONT);
  EXPECT_EQ(frames.state().ends.size(), 0U);
}

TEST_F(DisplayStream, GoesWithoutSharedMemory) {
  makeDisplay(400, 300, {"-extension", "MIT-SHM"});
  start(wholeDisplay());
  EXPECT_TRUE(frames.waitUntilShown(root));
  draw({{{15, 25, 33, 44}, 0x336699}, {{300, 200, 80, 80}, 0x996633}});
  EXPECT_TRUE(frames.waitUntilShown(root));
}

TEST_F(DisplayStream, SaysWhyItCannotStart) {
  auto configuration = wholeDisplay();
  const auto expect = [&](const std::string& reason, const std::string& name = {}) {
    try {
      start(configuration, name);
      ADD_FAILURE() << reason;
    } catch (const ScreenError& error) {
      EXPECT_EQ(error.description(), reason);
    }
  };
  expect("the display server ':59999' cannot be reached or refuses this user", ":59999");
  {
    const FileSizeLimit limit(400 * 300 * 4 - 1);
    expect("the limit on the size of files (see ulimit -f) is below one picture of the screen");
  }
  makeDisplay(400, 300, {"-extension", "DAMAGE"});
  expect("the display server does not tell what changes (it lacks the DAMAGE extension)");
  makeDisplay(400, 300);
  configuration.target.monitor.frame.x = 10;  // frozen before it was moved
  expect("the display screen was changed or unplugged during the recording");
}

}  // namespace
}  // namespace quillant
