#include "Core/MediaTime.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace quillant {

namespace {

__extension__ using Wide = __int128;

std::int64_t saturated(Wide value) {
  constexpr auto lowest = std::numeric_limits<std::int64_t>::min();
  constexpr auto highest = std::numeric_limits<std::int64_t>::max();
  if (value > highest) return highest;
  if (value < lowest) return lowest;
  return static_cast<std::int64_t>(value);
}

Wide scaled(MediaTime time, std::int64_t toTimescale) {
  const Wide product = Wide{time.value} * toTimescale;
  const Wide half = time.timescale / 2;
  return (product + (product < 0 ? -half : half)) / time.timescale;
}

std::int32_t commonTimescale(MediaTime left, MediaTime right) {
  const std::int64_t least = std::lcm<std::int64_t>(left.timescale, right.timescale);
  return least <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(least) : 1'000'000'000;
}

}  // namespace

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t timescale) {
  if (std::isnan(seconds) || timescale <= 0) return invalid();
  const double ticks = std::round(seconds * timescale);
  constexpr double limit = 9223372036854775808.0;  // 2^63: the first double beyond the range
  if (ticks >= limit) return {std::numeric_limits<std::int64_t>::max(), timescale};
  if (ticks < -limit) return {std::numeric_limits<std::int64_t>::min(), timescale};
  return {static_cast<std::int64_t>(ticks), timescale};
}

double MediaTime::seconds() const {
  if (!isValid()) return std::numeric_limits<double>::quiet_NaN();
  return static_cast<double>(value) / timescale;
}

MediaTime MediaTime::converted(std::int32_t toTimescale) const {
  if (!isValid() || toTimescale <= 0) return invalid();
  return {saturated(scaled(*this, toTimescale)), toTimescale};
}

MediaTime operator+(MediaTime left, MediaTime right) {
  if (!left.isValid() || !right.isValid()) return MediaTime::invalid();
  const auto timescale = commonTimescale(left, right);
  return {saturated(scaled(left, timescale) + scaled(right, timescale)), timescale};
}

MediaTime operator-(MediaTime left, MediaTime right) {
  if (!left.isValid() || !right.isValid()) return MediaTime::invalid();
  const auto timescale = commonTimescale(left, right);
  return {saturated(scaled(left, timescale) - scaled(right, timescale)), timescale};
}

std::partial_ordering operator<=>(MediaTime left, MediaTime right) {
  if (!left.isValid() || !right.isValid())
    return left.isValid() == right.isValid() ? std::partial_ordering::equivalent
                                             : std::partial_ordering::unordered;
  const Wide l = Wide{left.value} * right.timescale;
  const Wide r = Wide{right.value} * left.timescale;
  return l < r ? std::partial_ordering::less
               : (l > r ? std::partial_ordering::greater : std::partial_ordering::equivalent);
}

}  // namespace quillant
