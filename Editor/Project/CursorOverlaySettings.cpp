#include "Editor/Project/CursorOverlaySettings.h"

#include <algorithm>

#include "Core/JSONFields.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant {

CursorOverlaySettings CursorOverlaySettings::clamped() const {
  auto result = *this;
  result.size = std::clamp(size, 1.0, 8.0);
  result.smoothing = std::clamp(smoothing, 0.0, 2.0);
  if (!CursorStyleRegistry::definition(styleID)) result.styleID = CursorStyleRegistry::fallbackID;
  return result;
}

namespace {

constexpr auto fields = [](auto& settings, const auto& field) {
  field.orDefault("isVisible", settings.isVisible);
  field.orDefault("loops", settings.loops);
  field.orDefault("size", settings.size);
  field.orDefault("smoothing", settings.smoothing);
  field.orDefault("styleID", settings.styleID);
  field.orDefault("clickEffect", settings.clickEffect);
  field.orDefault("idleBehavior", settings.idleBehavior);
  field.orDefault("motionEffect", settings.motionEffect);
};

}  // namespace

void to_json(Json& json, const CursorOverlaySettings& settings) {
  JSON::writeFields(json, settings, fields);
}

void from_json(const Json& json, CursorOverlaySettings& settings) {
  JSON::readFields(json, settings, fields);
  settings = settings.clamped();
}

}  // namespace quillant
