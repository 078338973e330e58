#include <gtest/gtest.h>
#include <random>

#include "Linux/Sound/SampleClock.h"

namespace quillant {

namespace {

TEST(SampleClockTest, FollowsADriftingDeviceThroughJitterStraysAndLostSound) {
  constexpr int loss = 20'000;
  for (const double drift : {0.0, 3e-4, -3e-4}) {
    SampleClock clock(48'000);
    std::minstd_rand random(7);
    std::uniform_real_distribution<double> jitter(-0.012, 0.012);
    double last = 0;
    for (int i = 0; i < 30'000; ++i) {
      const double captured = 100 + i * 0.02 * (1 + drift) + (i < loss ? 0 : 1.5);
      const double error = i % 50 == 49 ? 0.4 : jitter(random);
      const double stamp = clock.stamp(960, MediaTime::fromSeconds(captured + error)).seconds();
      const int settling = i < loss ? i : i - loss;
      if (settling > 2) {  // that many agree before a step is believed
        EXPECT_NEAR(stamp, captured, settling > 200 ? 0.004 : 0.02) << "drift " << drift << ", buffer " << i;
      }
      if (settling > 200) {
        EXPECT_NEAR(stamp - last, 0.02, 0.0005) << "drift " << drift << ", buffer " << i;
      }
      last = stamp;
    }
  }
}

}  // namespace

}  // namespace quillant
