#include "Core/Date.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fmt/format.h>

#include "Core/JSON.h"

namespace quillant {

namespace {

using namespace std::chrono;

struct CivilTime {
  int year;
  unsigned month, day;
  int hour, minute, second;
};

CivilTime civil(Date date) {
  constexpr double firstSecond = -62'135'596'800.0;  // 0001-01-01
  constexpr double lastSecond = 253'402'300'799.0;   // 9999-12-31 23:59:59
  const double unixTime = std::isnan(date.secondsSince2001) ? 0 : date.unixSeconds();
  const sys_seconds moment{
      seconds{static_cast<std::int64_t>(std::floor(std::clamp(unixTime, firstSecond, lastSecond)))}};
  const auto day = floor<days>(moment);
  const year_month_day calendar{day};
  const auto sinceMidnight = static_cast<int>((moment - day).count());
  return {static_cast<int>(calendar.year()),
          static_cast<unsigned>(calendar.month()),
          static_cast<unsigned>(calendar.day()),
          sinceMidnight / 3600,
          sinceMidnight / 60 % 60,
          sinceMidnight % 60};
}

/// Takes exactly `count` digits off the front of `text`.
std::optional<int> takeDigits(std::string_view& text, std::size_t count) {
  if (text.size() < count) return std::nullopt;
  int value = 0;
  for (const char c : text.substr(0, count)) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  text.remove_prefix(count);
  return value;
}

bool take(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

/// "Z", "+hh:mm", "+hhmm" or "-hh:mm" to seconds east of UTC.
std::optional<int> takeOffset(std::string_view& text) {
  if (take(text, 'Z')) return 0;
  const int sign = take(text, '+') ? 1 : (take(text, '-') ? -1 : 0);
  if (sign == 0) return std::nullopt;
  const auto hours = takeDigits(text, 2);
  take(text, ':');
  const auto minutes = takeDigits(text, 2);
  if (!hours || !minutes || *hours > 23 || *minutes > 59) return std::nullopt;
  return sign * (*hours * 3600 + *minutes * 60);
}

}  // namespace

Date Date::now() {
  return fromUnixSeconds(duration<double>(system_clock::now().time_since_epoch()).count());
}

std::string Date::iso8601() const {
  const auto c = civil(*this);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", c.year, c.month, c.day, c.hour, c.minute,
                     c.second);
}

std::string Date::description() const {
  const auto c = civil(*this);
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02} +0000", c.year, c.month, c.day, c.hour, c.minute,
                     c.second);
}

std::optional<Date> Date::parseISO8601(std::string_view text) {
  const auto y = takeDigits(text, 4);
  if (!y || !take(text, '-')) return std::nullopt;
  const auto m = takeDigits(text, 2);
  if (!m || !take(text, '-')) return std::nullopt;
  const auto d = takeDigits(text, 2);
  if (!d || !take(text, 'T')) return std::nullopt;
  const year_month_day calendar{year{*y}, month{static_cast<unsigned>(*m)}, day{static_cast<unsigned>(*d)}};
  const auto hour = takeDigits(text, 2);
  if (!calendar.ok() || !hour || !take(text, ':')) return std::nullopt;
  const auto minute = takeDigits(text, 2);
  if (!minute || !take(text, ':')) return std::nullopt;
  const auto second = takeDigits(text, 2);
  if (!second || *hour > 23 || *minute > 59 || *second > 60) return std::nullopt;
  double fraction = 0;
  if (take(text, '.')) {
    if (text.empty() || text.front() < '0' || text.front() > '9') return std::nullopt;
    for (double place = 0.1; !text.empty() && text.front() >= '0' && text.front() <= '9'; place /= 10) {
      fraction += (text.front() - '0') * place;
      text.remove_prefix(1);
    }
  }
  const auto offset = takeOffset(text);
  if (!offset || !text.empty()) return std::nullopt;
  const auto dayStart = static_cast<double>(sys_days{calendar}.time_since_epoch().count()) * 86400;
  return fromUnixSeconds(dayStart + *hour * 3600 + *minute * 60 + *second - *offset + fraction);
}

void to_json(Json& json, const Date& date) {
  json = date.secondsSince2001;
}

void from_json(const Json& json, Date& date) {
  date.secondsSince2001 = JSON::decode<double>(json);
}

}  // namespace quillant
