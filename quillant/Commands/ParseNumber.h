#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace quillant {

/// Reads a number that fills the whole word; one plus sign may lead.
template <class Number, class... Format>
std::optional<Number> parseNumber(std::string_view word, Format... format) {
  if (word.starts_with('+')) {
    word.remove_prefix(1);
    if (word.starts_with('-')) return std::nullopt;
  }
  Number value{};
  const auto* end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, value, format...);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

}  // namespace quillant
