#include <gmock/gmock.h>

#include "CaptureEngine/CursorTrack.h"

namespace quillant {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto left = MouseButton::left;
constexpr auto right = MouseButton::right;

constexpr MediaTime ms(std::int64_t count) {
  return {count, 1000};
}

/// A track whose pointer and clock the test moves by hand.
class PolledTrack : public testing::Test {
 protected:
  void tick(std::int64_t time, bool leftDown = false, bool rightDown = false) {
    pointer = {pointer.location, leftDown, rightDown};
    track.tick(ms(time));
  }
  void poll(bool leftDown, bool rightDown = false) {
    pointer = {pointer.location, leftDown, rightDown};
    track.pollButtons();
  }
  void tickAt(std::int64_t time, Point location) {
    pointer.location = location;
    track.tick(ms(time));
  }
  void press(std::int64_t time, MouseButton button = left) {
    track.handleClickEvent({button, ClickEvent::Kind::down, ms(time)});
  }
  void release(MediaTime time) { track.handleClickEvent({left, ClickEvent::Kind::up, time}); }
  std::vector<std::int64_t> clickTimes() const {
    std::vector<std::int64_t> times;
    for (const auto& click : track.payload(ms(0)).clicks) times.push_back(click.timestamp);
    return times;
  }

  CursorTrack::Snapshot pointer;
  Rect liveRegion{0, 0, 400, 300};
  std::shared_ptr<PauseClock> clock = std::make_shared<PauseClock>();
  CursorTrack track{{.region = liveRegion,
                     .liveRegion = [this] { return liveRegion; },
                     .source = [this] { return pointer; },
                     .pauseClock = clock}};
};

class EventTrack : public PolledTrack {
 protected:
  EventTrack() { track.setClicksFromEvents(true); }
};

TEST_F(PolledTrack, TakesAClickForEachPressAlsoBetweenTwoTicks) {
  tick(0, true);
  tick(10, true);  // held
  tick(20, false, true);
  tick(30, true, true);
  tick(40);
  EXPECT_EQ(track.clickDiagnostics(), (ClickDiagnostics{false, 0}));
  poll(true);
  poll(false);
  tick(57);  // over already
  poll(true);
  tick(73, true);  // still down
  poll(false);
  tick(90);
  poll(true, true);
  poll(false, false);
  tick(107);  // both over: counted once
  EXPECT_THAT(clickTimes(), ElementsAre(0, 20, 30, 57, 73, 107, 107));
  EXPECT_EQ(track.clickDiagnostics(), (ClickDiagnostics{false, 2}));
}

TEST_F(PolledTrack, LeavesOutAPressThatStartsInAPause) {
  tick(0);
  poll(true);  // noticed, and then paused before the tick
  clock->pause(ms(10));
  tick(17, true);
  tick(50, false, true);
  poll(true, true);
  clock->resume(ms(60));
  tick(67, true, true);
  tick(83);
  EXPECT_THAT(clickTimes(), IsEmpty());
  tick(100, true);
  EXPECT_THAT(clickTimes(), ElementsAre(50));
}

TEST_F(EventTrack, LeavesOutWhatHappensInAPause) {
  tick(0);
  press(5);
  clock->pause(ms(10));
  tick(17);  // forgets the press that no sample has taken yet
  press(20);
  tick(33);
  clock->resume(ms(40));
  press(30);  // of the pause, and delivered after it
  release(ms(41));
  tick(50);
  EXPECT_THAT(clickTimes(), IsEmpty());
  EXPECT_EQ(track.clickDiagnostics().shortClicks, 0);
  press(60);
  tick(67);
  EXPECT_THAT(clickTimes(), ElementsAre(37));
}

TEST_F(EventTrack, GivesAClickToTheFirstSampleAtOrAfterIt) {
  press(5);  // before all samples
  tickAt(10, {1, 1});
  tickAt(20, {2, 2});
  tickAt(30, {3, 3});
  press(20, right);  // late, and exactly at a sample
  press(11);         // later still
  press(31);         // waits for the next
  press(3);          // late, and before all samples
  tickAt(40, {4, 4});
  using Click = CursorTelemetryClick;
  EXPECT_THAT(track.payload(ms(0)).clicks,
              ElementsAre(Click{1, 1, 10, "left", 1}, Click{2, 2, 20, "right", 1}, Click{2, 2, 20, "left", 1},
                          Click{1, 1, 10, "left", 2}, Click{4, 4, 40, "left", 3}));
}

TEST_F(EventTrack, CountsTheClicksThatPollingOnceASampleWouldMiss) {
  const MediaTime gap{1, 60};
  release(ms(0));  // its press came before the recording
  press(0);
  release(gap - MediaTime::nanoseconds(1));
  release(gap - MediaTime::nanoseconds(1));
  press(100);
  release(ms(100) + gap);
  EXPECT_EQ(track.clickDiagnostics(), (ClickDiagnostics{true, 1}));
}

TEST(CursorTrack, CountsClicksOfOneButtonThatFollowQuickly) {
  using Presses = std::vector<std::pair<MouseButton, std::int64_t>>;
  const auto counts = [](const Presses& presses) {
    CursorTrack track({.source = [] { return CursorTrack::Snapshot{}; }});
    track.setClicksFromEvents(true);
    for (const auto& [button, time] : presses) {
      track.handleClickEvent({button, ClickEvent::Kind::down, ms(time)});
      track.tick(ms(time));
    }
    std::vector<std::int64_t> result;
    for (const auto& click : track.payload(ms(0)).clicks) result.push_back(click.clickCount);
    return result;
  };
  EXPECT_THAT(counts({{left, 0}, {left, 400}, {left, 800}}), ElementsAre(1, 2, 3));
  EXPECT_THAT(counts({{left, 0}, {right, 200}, {left, 400}}), ElementsAre(1, 1, 1));
  EXPECT_THAT(counts({{left, 0}, {left, 500}, {left, 999}}), ElementsAre(1, 1, 2));
}

TEST_F(PolledTrack, TellsTheVideosTimeAndTheRegionsPoints) {
  liveRegion = {100, 50, 400, 300};
  tickAt(990, {300, 200});  // before the first frame
  tickAt(1000, {110.5, 60.4});
  clock->pause(ms(1010));
  tickAt(1500, {300, 200});
  clock->resume(ms(2010));
  liveRegion = {0, 0, 800, 300};  // grown: fitted into the region at the start
  pointer.leftDown = true;
  track.tick(ms(2017) + MediaTime{1, 2000});
  tickAt(2030, {9000, -9});  // outside: on the edge
  EXPECT_EQ(track.payload(ms(1000)),
            (CursorTelemetryPayload{.width = 400,
                                    .height = 300,
                                    .samples = {{11, 10, 0}, {150, 100, 18}, {400, 0, 30}},
                                    .clicks = {{150, 100, 18, "left", 1}}}));
}

TEST(CursorTrack, WithoutSamplesStillHasTheRegionsSize) {
  const CursorTrack track({.region = {0, 0, 100.5, 99.4}});
  EXPECT_EQ(track.payload(MediaTime::zero()), (CursorTelemetryPayload{.width = 101, .height = 99}));
}

}  // namespace
}  // namespace quillant
