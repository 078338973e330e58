#include <atomic>
#include <gtest/gtest.h>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

namespace {

struct ScriptedClicks : ClickEventSource {
  ScriptedClicks(bool canStart, Handlers& keep) : starts(canStart), handlers(keep) {}
  bool start(Handlers given) override {
    handlers = std::move(given);
    return starts;
  }
  void stop() override {}

  const bool starts;
  Handlers& handlers;
};

struct RecorderFixture {
  explicit RecorderFixture(bool eventsCanBeHad)
      : recorder({.region = {0, 0, 100, 100},
                  .source =
                      [this] {
                        return CursorTrack::Snapshot{{7, 9}, leftDown, false};
                      }},
                 std::make_unique<ScriptedClicks>(eventsCanBeHad, handlers)) {
    recorder.start();
  }
  CursorTelemetryPayload payload() { return recorder.payload(MediaTime::zero()); }

  std::atomic<bool> leftDown = false;
  ClickEventSource::Handlers handlers;
  CursorTelemetryRecorder recorder;
};

TEST(CursorTelemetryRecorder, RecordsSamplesAndEventsUntilItIsStopped) {
  RecorderFixture fixture(true);
  fixture.leftDown = true;  // not looked at
  fixture.handlers.onEvent({MouseButton::right, ClickEvent::Kind::down, HostClock::now()});
  EXPECT_TRUE(
      eventually([&] { return fixture.payload().samples.size() > 3 && !fixture.payload().clicks.empty(); }));
  fixture.recorder.stop();
  const auto stopped = fixture.payload();
  ASSERT_EQ(stopped.clicks.size(), 1U);
  EXPECT_EQ(stopped.clicks[0].button, "right");
  EXPECT_EQ(stopped.samples[0].x, 7);
  EXPECT_EQ(stopped.samples[0].y, 9);
  EXPECT_TRUE(fixture.recorder.clickDiagnostics().fromSystemEvents);
  std::this_thread::sleep_for(std::chrono::milliseconds(40));  // in which it would sample again
  EXPECT_EQ(fixture.payload(), stopped);
}

TEST(CursorTelemetryRecorder, PollsTheButtonsWithoutEventsAndOnceTheyAreLost) {
  for (const bool areLost : {false, true}) {
    RecorderFixture fixture(areLost);
    if (areLost) fixture.handlers.onLost();
    EXPECT_TRUE(eventually([&] { return !fixture.recorder.clickDiagnostics().fromSystemEvents; }));
    fixture.leftDown = true;
    EXPECT_TRUE(eventually([&] { return fixture.payload().clicks.size() == 1; }));
  }
}

}  // namespace
}  // namespace quillant
