#include "Core/ByteSize.h"

#include <array>
#include <cmath>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>
#include <unicode/unistr.h>

namespace quillant::ByteSize {

namespace {

struct Unit {
  const char* name;
  double size;
  int decimals;
};

constexpr std::array units{Unit{"KB", 1e3, 0},  Unit{"MB", 1e6, 1},  Unit{"GB", 1e9, 2},
                           Unit{"TB", 1e12, 2}, Unit{"PB", 1e15, 2}, Unit{"EB", 1e18, 2}};

double rounded(double value, int decimals) {
  const double scale = std::pow(10.0, decimals);
  return std::round(value * scale) / scale;
}

std::string number(double value, int decimals, const std::string& locale) {
  UErrorCode status = U_ZERO_ERROR;
  const auto place = locale.empty() ? icu::Locale::getDefault() : icu::Locale(locale.c_str());
  const auto text = icu::number::NumberFormatter::withLocale(place)
                        .precision(icu::number::Precision::maxFraction(decimals))
                        .grouping(UNUM_GROUPING_OFF)
                        .formatDouble(value, status)
                        .toString(status);
  if (U_FAILURE(status)) return std::to_string(std::llround(value));
  std::string result;
  text.toUTF8String(result);
  return result;
}

}  // namespace

std::string fileSize(std::int64_t bytes, const std::string& locale) {
  if (bytes == 0) return "Zero KB";
  if (bytes == 1) return "1 byte";
  if (bytes > -1000 && bytes < 1000) return number(static_cast<double>(bytes), 0, locale) + " bytes";
  for (const auto& unit : units) {
    const double value = rounded(static_cast<double>(bytes) / unit.size, unit.decimals);
    // What rounds up to a thousand is one of the next unit.
    if (std::abs(value) < 1000 || &unit == &units.back())
      return number(value, unit.decimals, locale) + " " + unit.name;
  }
  return {};
}

}  // namespace quillant::ByteSize
