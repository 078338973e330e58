#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "Linux/Sound/SampleClock.h"

namespace quillant {

namespace {

constexpr int framesPerBuffer = 960;
constexpr double bufferSeconds = 0.02;

TEST(SampleClockTest, FollowsADriftingDeviceThroughJitterWithoutGaps) {
  for (const double drift : {0.0, 3e-4, -3e-4}) {
    SampleClock clock(48'000);
    std::minstd_rand random(7);
    std::uniform_real_distribution<double> jitter(-0.012, 0.012);
    double last = -1;
    for (int i = 0; i < 30'000; ++i) {
      const double captured = 100 + i * bufferSeconds * (1 + drift);
      const double stamp =
          clock.stamp(framesPerBuffer, MediaTime::fromSeconds(captured + jitter(random))).seconds();
      if (i > 200) {
        EXPECT_NEAR(stamp, captured, 0.004) << "drift " << drift << ", buffer " << i;
        EXPECT_NEAR(stamp - last, bufferSeconds, 0.0005) << "drift " << drift << ", buffer " << i;
      }
      last = stamp;
    }
  }
}

TEST(SampleClockTest, TakesAStepThatHappenedAndIgnoresASingleStray) {
  SampleClock clock(48'000);
  const auto stampAt = [&](double captured) {
    return clock.stamp(framesPerBuffer, MediaTime::fromSeconds(captured)).seconds();
  };
  double time = 0;
  for (int i = 0; i < 500; ++i, time += bufferSeconds) {
    const bool isStray = i % 50 == 49;
    EXPECT_NEAR(stampAt(time + (isStray ? 0.4 : 0)), time, 1e-6);
  }
  time += 1.5;  // sound that was lost
  for (int i = 0; i < 3; ++i, time += bufferSeconds) stampAt(time);
  EXPECT_NEAR(stampAt(time), time, 1e-6);
}

}  // namespace

}  // namespace quillant
