#include "Core/SerializableColor.h"

#include <charconv>
#include <cstdint>

#include "Core/JSONFields.h"
#include "Core/Text.h"

namespace quillant {

SerializableColor SerializableColor::fromHex(std::string_view hex, double alpha) {
  hex = Text::trimmed(hex);
  if (hex.starts_with('#')) hex.remove_prefix(1);
  std::uint64_t bits = 0;
  std::from_chars(hex.data(), hex.data() + hex.size(), bits, 16);
  const auto component = [bits](int shift) { return static_cast<double>(bits >> shift & 0xFF) / 255.0; };
  return {component(16), component(8), component(0), alpha};
}

namespace {

constexpr auto fields = [](auto& color, const auto& field) {
  field("red", color.red);
  field("green", color.green);
  field("blue", color.blue);
  field("alpha", color.alpha);
};

}  // namespace

void to_json(Json& json, const SerializableColor& color) {
  JSON::writeFields(json, color, fields);
}

void from_json(const Json& json, SerializableColor& color) {
  JSON::readFields(json, color, fields);
}

}  // namespace quillant
