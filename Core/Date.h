#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "Core/JSONForward.h"

namespace quillant {

/// A moment on the civil clock, in UTC. In JSON it is its number of seconds.
struct Date {
  double secondsSince2001 = 0;  ///< Seconds since 2001-01-01 00:00:00 UTC, before it negative.

  static Date now();
  static constexpr Date distantPast() { return {-63'114'076'800.0}; }  ///< 0001-01-01
  static constexpr Date fromUnixSeconds(double seconds) { return {seconds - 978'307'200.0}; }
  constexpr double unixSeconds() const { return secondsSince2001 + 978'307'200.0; }

  /// "2026-11-22T18:04:05Z": whole seconds, rounded down. Years outside 1 to 9999 are clamped.
  std::string iso8601() const;
  /// Reads the form that `iso8601` writes, and fractions of a second and offsets ("+01:00") too.
  static std::optional<Date> parseISO8601(std::string_view text);
  /// "2026-11-22 18:04:05 +0000".
  std::string description() const;

  friend auto operator<=>(const Date&, const Date&) = default;
};

void to_json(Json& json, const Date& date);
void from_json(const Json& json, Date& date);

}  // namespace quillant
