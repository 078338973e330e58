#include <atomic>
#include <gtest/gtest.h>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

namespace {

/// Desktops with and without events, in the test's hands.
struct Clicks : ClickEventSource {
  Clicks(bool available, Handlers& keep) : isAvailable(available), handlers(keep) {}
  bool start(Handlers given) override {
    handlers = std::move(given);
    return isAvailable;
  }
  void stop() override {}

  const bool isAvailable;
  Handlers& handlers;
};

TEST(CursorTelemetryRecorder, RecordsSamplesAndClicksUntilItIsStopped) {
  enum class Events { available, lost, missing };
  for (const auto events : {Events::available, Events::lost, Events::missing}) {
    std::atomic<bool> rightDown = false;
    ClickEventSource::Handlers handlers;
    CursorTelemetryRecorder recorder({.region = {0, 0, 100, 100},
                                      .source =
                                          [&] {
                                            return CursorTrack::Snapshot{{7, 9}, false, rightDown};
                                          }},
                                     std::make_unique<Clicks>(events != Events::missing, handlers));
    const auto payload = [&] { return recorder.payload(MediaTime::zero()); };
    recorder.start();
    if (events == Events::lost) handlers.onLost();
    if (events == Events::available)
      handlers.onEvent({MouseButton::right, ClickEvent::Kind::down, HostClock::now()});
    rightDown = true;  // looked at only without events
    ASSERT_TRUE(eventually([&] { return payload().samples.size() > 3 && !payload().clicks.empty(); }));
    recorder.stop();
    const auto stopped = payload();
    ASSERT_EQ(stopped.clicks.size(), 1U);
    EXPECT_EQ(stopped.clicks[0].button, "right");
    EXPECT_EQ(stopped.samples[0].x, 7);
    EXPECT_EQ(stopped.samples[0].y, 9);
    EXPECT_EQ(recorder.clickDiagnostics().fromSystemEvents, events == Events::available);
    std::this_thread::sleep_for(std::chrono::milliseconds(40));  // in which it would sample again
    EXPECT_EQ(payload(), stopped);
  }
}

}  // namespace
}  // namespace quillant
