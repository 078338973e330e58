#pragma once

#include <compare>
#include <cstdint>

namespace quillant {

/// A rational point in time or span of time: `value / timescale` seconds, or no time at all (invalid).
///
/// Sums and differences are exact while the least common timescale of the operands fits 32 bits; beyond that
/// they are rounded to the nanosecond. A result that no 64-bit value holds saturates. Any operation with an
/// invalid operand is invalid.
struct MediaTime {
  std::int64_t value = 0;
  std::int32_t timescale = 0;  ///< Ticks a second; 0 or less means invalid.

  static constexpr MediaTime invalid() { return {}; }
  static constexpr MediaTime zero() { return {0, 1}; }
  static constexpr MediaTime nanoseconds(std::int64_t count) { return {count, 1'000'000'000}; }
  /// The tick nearest to `seconds`, ties away from zero; saturates, and is invalid for NaN.
  static MediaTime fromSeconds(double seconds, std::int32_t timescale = 1'000'000'000);

  constexpr bool isValid() const { return timescale > 0; }
  /// NaN if invalid.
  double seconds() const;
  /// The nearest time at another timescale, ties away from zero.
  MediaTime converted(std::int32_t toTimescale) const;

  friend MediaTime operator+(MediaTime left, MediaTime right);
  friend MediaTime operator-(MediaTime left, MediaTime right);
  /// By value: 1/2 equals 2/4. Invalid equals invalid and is unordered with every valid time.
  friend bool operator==(MediaTime left, MediaTime right) { return (left <=> right) == 0; }
  friend std::partial_ordering operator<=>(MediaTime left, MediaTime right);
};

}  // namespace quillant
