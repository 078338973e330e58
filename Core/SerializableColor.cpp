#include "Core/SerializableColor.h"

#include <charconv>
#include <cstdint>

#include "Core/JSON.h"
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

void to_json(Json& json, const SerializableColor& color) {
  json = {{"red", color.red}, {"green", color.green}, {"blue", color.blue}, {"alpha", color.alpha}};
}

void from_json(const Json& json, SerializableColor& color) {
  color.red = JSON::required<double>(json, "red");
  color.green = JSON::required<double>(json, "green");
  color.blue = JSON::required<double>(json, "blue");
  color.alpha = JSON::required<double>(json, "alpha");
}

}  // namespace quillant
