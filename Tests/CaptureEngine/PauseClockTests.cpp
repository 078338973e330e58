#include <gtest/gtest.h>

#include "CaptureEngine/PauseClock.h"

namespace quillant {

namespace {

constexpr MediaTime s(std::int64_t seconds) {
  return {seconds, 1};
}

TEST(PauseClock, TakesEveryPauseOutOfTheTimesAfterIt) {
  PauseClock clock;
  clock.resume(s(1));  // without a pause: nothing
  EXPECT_EQ(clock.adjust(s(9)), s(9));

  clock.pause(s(10));
  clock.pause(s(12));  // open already: the first one counts
  EXPECT_TRUE(clock.isPaused());
  EXPECT_EQ(clock.adjust(s(11)), std::nullopt);
  EXPECT_EQ(clock.pausedTime(s(13)), s(3));
  clock.resume(s(15));
  EXPECT_EQ(clock.adjust(s(15)), s(10));

  clock.pause(s(20));
  clock.resume(s(22));
  EXPECT_EQ(clock.adjust(s(30)), s(23));
  EXPECT_EQ(clock.pausedTime(s(99)), s(7));
}

}  // namespace
}  // namespace quillant
