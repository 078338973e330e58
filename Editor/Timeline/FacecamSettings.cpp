#include "Editor/Timeline/FacecamSettings.h"

#include <algorithm>

#include "Core/JSONFields.h"
#include "Core/Text.h"

namespace quillant {

FacecamSettings FacecamSettings::clamped() const {
  return {
      .enabled = enabled,
      .shape = normalizedShape(shape),
      .size = std::clamp(size, 12.0, 40.0),
      .cornerRadius = std::clamp(cornerRadius, 0.0, 100.0),
      .borderWidth = std::clamp(borderWidth, 0.0, 16.0),
      .borderColor = normalizedBorderColor(borderColor),
      .margin = std::clamp(margin, 0.0, 12.0),
      .anchor = std::string(rawText(fromRawText<FacecamAnchor>(anchor).value_or(FacecamAnchor::bottomRight))),
  };
}

std::string FacecamSettings::normalizedShape(std::string_view shape) {
  auto text = Text::lowercased(Text::trimmed(shape));
  return text.empty() ? "circle" : text;
}

std::string FacecamSettings::normalizedBorderColor(std::string_view color) {
  const auto text = Text::trimmed(color);
  return std::string(text.empty() ? "#FFFFFF" : text);
}

namespace {

constexpr auto fields = [](auto& settings, const auto& field) {
  field("enabled", settings.enabled);
  field("shape", settings.shape);
  field("size", settings.size);
  field("cornerRadius", settings.cornerRadius);
  field("borderWidth", settings.borderWidth);
  field("borderColor", settings.borderColor);
  field("margin", settings.margin);
  field("anchor", settings.anchor);
};

}  // namespace

void to_json(Json& json, const FacecamSettings& settings) {
  JSON::writeFields(json, settings, fields);
}

void from_json(const Json& json, FacecamSettings& settings) {
  JSON::readFields(json, settings, fields);
}

}  // namespace quillant
