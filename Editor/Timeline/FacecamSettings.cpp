#include "Editor/Timeline/FacecamSettings.h"

#include <algorithm>

#include "Core/JSON.h"
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

void to_json(Json& json, const FacecamSettings& settings) {
  json["enabled"] = settings.enabled;
  json["shape"] = settings.shape;
  json["size"] = settings.size;
  json["cornerRadius"] = settings.cornerRadius;
  json["borderWidth"] = settings.borderWidth;
  json["borderColor"] = settings.borderColor;
  json["margin"] = settings.margin;
  json["anchor"] = settings.anchor;
}

void from_json(const Json& json, FacecamSettings& settings) {
  settings.enabled = JSON::required<bool>(json, "enabled");
  settings.shape = JSON::required<std::string>(json, "shape");
  settings.size = JSON::required<double>(json, "size");
  settings.cornerRadius = JSON::required<double>(json, "cornerRadius");
  settings.borderWidth = JSON::required<double>(json, "borderWidth");
  settings.borderColor = JSON::required<std::string>(json, "borderColor");
  settings.margin = JSON::required<double>(json, "margin");
  settings.anchor = JSON::required<std::string>(json, "anchor");
}

}  // namespace quillant
