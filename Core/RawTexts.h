#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

namespace quillant {

/// The texts by which an enumeration's cases are stored: specialise it beside the enumeration, in the order
/// of the cases. JSON coding and command lines both read this one table.
///
///     template <> inline constexpr auto rawTexts<Shape> = std::to_array<RawText<Shape>>({
///         {Shape::circle, "circle"}, {Shape::square, "square"}});
template <class E>
inline constexpr std::nullptr_t rawTexts = nullptr;

template <class E>
using RawText = std::pair<E, std::string_view>;

template <class E>
concept HasRawTexts = std::is_enum_v<E> && !std::is_same_v<decltype(rawTexts<E>), const std::nullptr_t>;

template <HasRawTexts E>
constexpr std::string_view rawText(E value) {
  for (const auto& [candidate, text] : rawTexts<E>)
    if (candidate == value) return text;
  return {};
}

template <HasRawTexts E>
constexpr std::optional<E> fromRawText(std::string_view text) {
  for (const auto& [value, candidate] : rawTexts<E>)
    if (candidate == text) return value;
  return std::nullopt;
}

}  // namespace quillant
