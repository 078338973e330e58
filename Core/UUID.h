#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Core/JSONForward.h"

namespace quillant {

/// A 128-bit identifier. Written as 36 upper-case characters, read in either case.
struct UUID {
  std::array<std::uint8_t, 16> bytes{};  ///< All zero by default.

  /// A fresh version 4 identifier from the system's random source. Safe on any thread.
  static UUID random();
  static std::optional<UUID> parse(std::string_view text);
  std::string text() const;

  friend auto operator<=>(const UUID&, const UUID&) = default;
};

void to_json(Json& json, const UUID& id);
void from_json(const Json& json, UUID& id);

}  // namespace quillant

template <>
struct std::hash<quillant::UUID> {
  std::size_t operator()(const quillant::UUID& id) const noexcept {
    return std::hash<std::string_view>{}({reinterpret_cast<const char*>(id.bytes.data()), id.bytes.size()});
  }
};
