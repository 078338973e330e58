#include "Core/UUID.h"

#include <random>

#include "Core/JSON.h"

namespace quillant {

namespace {

constexpr bool dashBefore(std::size_t byte) {
  return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

int digitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

UUID UUID::random() {
  thread_local std::mt19937_64 generator = [] {
    std::random_device device;
    std::seed_seq seed{device(), device(), device(), device(), device(), device(), device(), device()};
    return std::mt19937_64(seed);
  }();
  UUID id;
  for (std::size_t half = 0; half < 2; ++half) {
    auto bits = generator();
    for (std::size_t i = 0; i < 8; ++i, bits >>= 8) id.bytes[half * 8 + i] = static_cast<std::uint8_t>(bits);
  }
  id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0F) | 0x40);
  id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3F) | 0x80);
  return id;
}

std::optional<UUID> UUID::parse(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  UUID id;
  std::size_t at = 0;
  for (std::size_t i = 0; i < id.bytes.size(); ++i) {
    if (dashBefore(i) && text[at++] != '-') return std::nullopt;
    const int high = digitValue(text[at++]);
    const int low = digitValue(text[at++]);
    if (high < 0 || low < 0) return std::nullopt;
    id.bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return id;
}

std::string UUID::text() const {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  result.reserve(36);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (dashBefore(i)) result += '-';
    result += digits[bytes[i] >> 4];
    result += digits[bytes[i] & 15];
  }
  return result;
}

void to_json(Json& json, const UUID& id) {
  json = id.text();
}

void from_json(const Json& json, UUID& id) {
  const auto text = JSON::decode<std::string>(json);
  const auto parsed = UUID::parse(text);
  if (!parsed)
    throw JSONError(JSONError::Kind::invalidValue, "'" + text.substr(0, 40) + "' is not an identifier");
  id = *parsed;
}

}  // namespace quillant
