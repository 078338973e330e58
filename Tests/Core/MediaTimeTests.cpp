#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "Core/MediaTime.h"

namespace quillant {
namespace {

constexpr auto highest = std::numeric_limits<std::int64_t>::max();
constexpr auto lowest = std::numeric_limits<std::int64_t>::min();

TEST(MediaTime, AddsAndSubtractsExactlyAcrossTimescales) {
  EXPECT_EQ((MediaTime{1, 3} + MediaTime{1, 6}), (MediaTime{1, 2}));
  EXPECT_EQ((MediaTime{1, 90000} - MediaTime{1, 48000}).value, -7);
  MediaTime sum = MediaTime::zero();
  for (int i = 0; i < 300; ++i) sum = sum + MediaTime{1, 30};
  EXPECT_EQ(sum, (MediaTime{10, 1}));
}

TEST(MediaTime, ComparesByValueAndKeepsInvalidApart) {
  EXPECT_EQ((MediaTime{1, 2}), (MediaTime{2, 4}));
  EXPECT_LT((MediaTime{highest - 1, 1'000'000'000}), (MediaTime{highest, 1'000'000'000}));
  EXPECT_EQ(MediaTime::invalid(), MediaTime::invalid());
  EXPECT_FALSE(MediaTime::invalid() < MediaTime::zero() || MediaTime::invalid() >= MediaTime::zero());
  EXPECT_FALSE((MediaTime::invalid() + MediaTime::zero()).isValid());
  EXPECT_TRUE(std::isnan(MediaTime::invalid().seconds()));
}

TEST(MediaTime, SaturatesInsteadOfOverflowing) {
  EXPECT_EQ((MediaTime{highest, 1} + MediaTime{1, 1}).value, highest);
  EXPECT_EQ((MediaTime{lowest, 1} - MediaTime{1, 1}).value, lowest);
  EXPECT_EQ(MediaTime::fromSeconds(1e300).value, highest);
  EXPECT_EQ(MediaTime::fromSeconds(-INFINITY).value, lowest);
  EXPECT_FALSE(MediaTime::fromSeconds(NAN).isValid());
  EXPECT_EQ((MediaTime{highest, 1}).converted(1'000'000'000).value, highest);
}

TEST(MediaTime, RoundsToTheNearestTickAwayFromZero) {
  EXPECT_EQ(MediaTime::fromSeconds(0.5, 1).value, 1);
  EXPECT_EQ(MediaTime::fromSeconds(-0.5, 1).value, -1);
  EXPECT_EQ((MediaTime{1, 2}).converted(1).value, 1);
  EXPECT_EQ((MediaTime{-1, 2}).converted(1).value, -1);
  EXPECT_EQ((MediaTime{5, 4}).converted(2).value, 3);
}

}  // namespace
}  // namespace quillant
