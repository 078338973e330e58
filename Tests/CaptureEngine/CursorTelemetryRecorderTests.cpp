#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"

namespace quillant {

namespace {

/// Events from a thread that the test owns.
class ScriptedClicks : public ClickEventSource {
 public:
  struct Wires {
    bool starts = true;
    std::atomic<int> stops = 0;
    Handlers handlers;
  };

  explicit ScriptedClicks(Wires& wires) : wires_(wires) {}
  bool start(Handlers handlers) override {
    wires_.handlers = std::move(handlers);
    return wires_.starts;
  }
  void stop() override { ++wires_.stops; }

 private:
  Wires& wires_;
};

class CursorTelemetryRecorderTest : public testing::Test {
 protected:
  CursorTelemetryPayload payload() { return recorder.payload(MediaTime::zero()); }

  template <class Condition>
  bool eventually(Condition&& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
  }

  std::atomic<bool> leftDown = false;
  ScriptedClicks::Wires wires;
  CursorTelemetryRecorder recorder{{.region = {0, 0, 100, 100},
                                    .source =
                                        [this] {
                                          return CursorTrack::Snapshot{{7, 9}, leftDown, false};
                                        }},
                                   std::make_unique<ScriptedClicks>(wires)};
};

TEST_F(CursorTelemetryRecorderTest, RecordsSamplesAndTheSourcesClicksUntilItIsStopped) {
  recorder.start();
  leftDown = true;  // the buttons are not read
  wires.handlers.onEvent({MouseButton::right, ClickEvent::Kind::down, HostClock::now()});
  EXPECT_TRUE(eventually([&] { return payload().samples.size() > 3 && !payload().clicks.empty(); }));
  recorder.stop();

  const auto stopped = payload();
  ASSERT_EQ(stopped.clicks.size(), 1U);
  EXPECT_EQ(stopped.clicks[0].button, "right");
  EXPECT_EQ(stopped.samples[0].x, 7);
  EXPECT_EQ(stopped.samples[0].y, 9);
  EXPECT_TRUE(recorder.clickDiagnostics().fromSystemEvents);
  EXPECT_EQ(wires.stops, 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(40));
  EXPECT_EQ(payload(), stopped);
}

TEST_F(CursorTelemetryRecorderTest, PollsTheButtonsWhereNoEventsAreToBeHad) {
  wires.starts = false;
  recorder.start();
  leftDown = true;
  EXPECT_TRUE(eventually([&] { return payload().clicks.size() == 1; }));
  EXPECT_FALSE(recorder.clickDiagnostics().fromSystemEvents);
}

TEST_F(CursorTelemetryRecorderTest, PollsTheButtonsOnceTheEventsAreLost) {
  recorder.start();
  wires.handlers.onLost();
  EXPECT_TRUE(eventually([&] { return !recorder.clickDiagnostics().fromSystemEvents; }));
  leftDown = true;
  EXPECT_TRUE(eventually([&] { return payload().clicks.size() == 1; }));
}

}  // namespace
}  // namespace quillant
