#include <atomic>
#include <gtest/gtest.h>

#include "CaptureEngine/CursorTelemetryRecorder.h"
#include "Core/HostClock.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

namespace {

/// Desktops with and without events, in the test's hands.
struct Clicks : ClickEventSource {
  bool start(Handler given) override {
    handler = std::move(given);
    return isAvailable;
  }
  void stop() override {}

  bool isAvailable = true;
  Handler handler;
};

TEST(CursorTelemetryRecorder, RecordsSamplesAndClicksUntilItIsStopped) {
  for (const bool isAvailable : {true, false}) {
    std::atomic<bool> rightDown = false;
    std::atomic<int> reads = 0;
    Clicks clicks;
    clicks.isAvailable = isAvailable;
    const CursorTelemetryRecorder::Configuration configuration{
        .region = {0, 0, 100, 100}, .source = [&] {
          if (++reads == 1) throw std::bad_alloc();  // costs a sample
          return CursorTrack::Snapshot{{7, 9}, false, rightDown};
        }};
    CursorTelemetryRecorder recorder(configuration, &clicks);
    const auto payload = [&] { return recorder.payload(MediaTime::zero()); };
    recorder.start();
    if (isAvailable) clicks.handler({MouseButton::right, ClickEvent::Kind::down, HostClock::now()});
    rightDown = true;  // looked at only without events
    ASSERT_TRUE(eventually([&] { return payload().samples.size() > 3 && !payload().clicks.empty(); }));
    recorder.stop();
    const auto stopped = payload();
    ASSERT_EQ(stopped.clicks.size(), 1U);
    EXPECT_EQ(stopped.clicks[0].button, "right");
    EXPECT_EQ(stopped.samples[0].x, 7);
    EXPECT_EQ(stopped.samples[0].y, 9);
    EXPECT_EQ(recorder.clickDiagnostics().fromSystemEvents, isAvailable);
    CursorTelemetryRecorder running(configuration);
    running.start();
    ASSERT_TRUE(eventually([&] { return running.payload(MediaTime::zero()).samples.size() > 3; }));
    EXPECT_EQ(payload(), stopped) << "it goes on like one that was not stopped";
  }
}

}  // namespace
}  // namespace quillant
