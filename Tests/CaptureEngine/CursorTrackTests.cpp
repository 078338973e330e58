#include <gmock/gmock.h>

#include "CaptureEngine/CursorTrack.h"

namespace quillant {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr MediaTime ms(std::int64_t count) {
  return {count, 1000};
}

/// A track whose pointer and clock the test moves by hand.
class CursorTrackTest : public testing::Test {
 protected:
  void poll(bool leftDown, bool rightDown = false) {
    pointer.leftDown = leftDown;
    pointer.rightDown = rightDown;
    track.pollButtons();
  }
  void tick(std::int64_t time) { track.tick(ms(time)); }
  void tickAt(std::int64_t time, Point location) {
    pointer.location = location;
    tick(time);
  }
  void event(MouseButton button, ClickEvent::Kind kind, MediaTime time) {
    track.handleClickEvent({button, kind, time});
  }
  void press(std::int64_t time, MouseButton button = MouseButton::left) {
    event(button, ClickEvent::Kind::down, ms(time));
  }
  void release(MediaTime time) { event(MouseButton::left, ClickEvent::Kind::up, time); }

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

class PolledTrack : public CursorTrackTest {};

class EventTrack : public CursorTrackTest {
 protected:
  EventTrack() { track.setClicksFromEvents(true); }
};

TEST_F(PolledTrack, TakesAClickForEachPressAndNoneForABeingHeld) {
  pointer.leftDown = true;
  tick(0);
  tick(10);
  pointer = {.leftDown = false, .rightDown = true};
  tick(20);
  pointer = {.leftDown = true, .rightDown = true};
  tick(30);
  pointer = {};
  tick(40);
  EXPECT_THAT(clickTimes(), ElementsAre(0, 20, 30));
  EXPECT_EQ(track.clickDiagnostics(), (ClickDiagnostics{false, 0}));
}

TEST_F(PolledTrack, CatchesWhatHappensBetweenTwoTicks) {
  tick(0);
  poll(true);
  poll(false);
  tick(17);  // over already
  poll(true);
  tick(33);  // still down
  poll(false);
  tick(50);
  poll(true, true);
  poll(false, false);
  tick(67);  // both over: counted once
  EXPECT_THAT(clickTimes(), ElementsAre(17, 33, 67, 67));
  EXPECT_EQ(track.clickDiagnostics().shortClicks, 2);
}

TEST_F(PolledTrack, LeavesOutAPressThatStartsInAPause) {
  tick(0);
  poll(true);  // noticed, and then paused before the tick
  clock->pause(ms(10));
  tick(17);
  pointer.leftDown = false;
  tick(33);
  pointer.rightDown = true;
  tick(50);
  poll(true, true);
  clock->resume(ms(60));
  tick(67);
  poll(false, false);
  tick(83);
  EXPECT_THAT(clickTimes(), IsEmpty());
  poll(true);
  tick(100);
  EXPECT_THAT(clickTimes(), ElementsAre(50));
}

TEST_F(EventTrack, GivesAClickToTheFirstSampleAtOrAfterIt) {
  press(5);  // before all samples
  tickAt(10, {1, 1});
  tickAt(20, {2, 2});
  tickAt(30, {3, 3});
  press(20, MouseButton::right);  // late, and exactly at a sample
  press(11);                      // later still
  press(31);                      // waits for the next
  press(3);                       // late, and before all samples
  tickAt(40, {4, 4});
  EXPECT_THAT(
      track.payload(ms(0)).clicks,
      ElementsAre(CursorTelemetryClick{1, 1, 10, "left", 1}, CursorTelemetryClick{2, 2, 20, "right", 1},
                  CursorTelemetryClick{2, 2, 20, "left", 1}, CursorTelemetryClick{1, 1, 10, "left", 2},
                  CursorTelemetryClick{4, 4, 40, "left", 3}));
}

TEST_F(EventTrack, CountsClicksOfOneButtonThatFollowQuickly) {
  constexpr auto left = MouseButton::left;
  constexpr auto right = MouseButton::right;
  const struct {
    std::vector<std::pair<MouseButton, std::int64_t>> presses;
    std::vector<std::int64_t> counts;
  } cases[] = {
      {{{left, 0}, {left, 400}, {left, 800}}, {1, 2, 3}},
      {{{left, 0}, {right, 200}, {left, 400}}, {1, 1, 1}},
      {{{left, 0}, {left, 500}, {left, 999}}, {1, 1, 2}},
      {{{right, 0}, {right, 100}}, {1, 2}},
  };
  for (const auto& [presses, counts] : cases) {
    CursorTrack fresh({.region = liveRegion, .source = [] { return CursorTrack::Snapshot{}; }});
    fresh.setClicksFromEvents(true);
    for (const auto& [button, time] : presses) {
      fresh.handleClickEvent({button, ClickEvent::Kind::down, ms(time)});
      fresh.tick(ms(time));
    }
    std::vector<std::int64_t> actual;
    for (const auto& click : fresh.payload(ms(0)).clicks) actual.push_back(click.clickCount);
    EXPECT_EQ(actual, counts);
  }
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

TEST_F(EventTrack, TakesNothingFromEventsOnceTheyDoNotCount) {
  track.setClicksFromEvents(false);
  press(0);
  tick(10);
  EXPECT_THAT(clickTimes(), IsEmpty());
}

TEST_F(CursorTrackTest, TellsTheVideosTimeAndTheRegionsPoints) {
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
  const auto payload = track.payload(ms(1000));
  EXPECT_EQ(payload.width, 400);
  EXPECT_EQ(payload.height, 300);
  EXPECT_THAT(payload.samples,
              ElementsAre(CursorTelemetrySample{11, 10, 0}, CursorTelemetrySample{150, 100, 18},
                          CursorTelemetrySample{400, 0, 30}));
  EXPECT_THAT(payload.clicks, ElementsAre(CursorTelemetryClick{150, 100, 18, "left", 1}));
}

TEST(CursorTrack, WithoutSamplesStillHasTheRegionsSize) {
  const CursorTrack track({.region = {0, 0, 100.5, 99.4}});
  EXPECT_EQ(track.payload(MediaTime::zero()), (CursorTelemetryPayload{.width = 101, .height = 99}));
  EXPECT_EQ(track.payload(MediaTime::invalid()).samples.size(), 0U);
}

}  // namespace
}  // namespace quillant
