#include "Linux/Sound/SampleClock.h"

#include <algorithm>
#include <cstdlib>

namespace quillant {

namespace {

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
/// More than any scheduling of threads explains.
constexpr std::int64_t largestError = nanosecondsPerSecond * 6 / 100;
constexpr int outliersThatMakeAStep = 3;
/// How many measurements the clock remembers: enough to hide jitter, few enough to follow a device that runs
/// at a slightly different rate.
constexpr int memory = 100;

}  // namespace

MediaTime SampleClock::stamp(int frameCount, MediaTime measured) {
  const std::int64_t now = measured.converted(static_cast<std::int32_t>(nanosecondsPerSecond)).value;
  if (measurements_ == 0) next_ = now;
  const std::int64_t error = now - next_;
  if (std::abs(error) <= largestError) {
    outliers_ = 0;
    measurements_ = std::min(measurements_ + 1, memory);
    next_ += error / measurements_;
  } else if (++outliers_ == outliersThatMakeAStep) {
    outliers_ = 0;
    measurements_ = 1;
    next_ = now;
  }
  const auto time = MediaTime::nanoseconds(next_);
  next_ += frameCount * nanosecondsPerSecond / sampleRate_;
  return time;
}

}  // namespace quillant
