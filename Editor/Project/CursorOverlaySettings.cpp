#include "Editor/Project/CursorOverlaySettings.h"

#include <algorithm>

#include "Core/JSON.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant {

CursorOverlaySettings CursorOverlaySettings::clamped() const {
  auto result = *this;
  result.size = std::clamp(size, 1.0, 8.0);
  result.smoothing = std::clamp(smoothing, 0.0, 2.0);
  if (!CursorStyleRegistry::definition(styleID)) result.styleID = CursorStyleRegistry::fallbackID;
  return result;
}

void to_json(Json& json, const CursorOverlaySettings& settings) {
  json["isVisible"] = settings.isVisible;
  json["loops"] = settings.loops;
  json["size"] = settings.size;
  json["smoothing"] = settings.smoothing;
  json["styleID"] = settings.styleID;
  json["clickEffect"] = rawText(settings.clickEffect);
  json["idleBehavior"] = rawText(settings.idleBehavior);
  json["motionEffect"] = rawText(settings.motionEffect);
}

void from_json(const Json& json, CursorOverlaySettings& settings) {
  CursorOverlaySettings read;
  read.isVisible = JSON::orDefault(json, "isVisible", read.isVisible);
  read.loops = JSON::orDefault(json, "loops", read.loops);
  read.size = JSON::orDefault(json, "size", read.size);
  read.smoothing = JSON::orDefault(json, "smoothing", read.smoothing);
  read.styleID = JSON::orDefault(json, "styleID", read.styleID);
  read.clickEffect = JSON::orDefault(json, "clickEffect", read.clickEffect);
  read.idleBehavior = JSON::orDefault(json, "idleBehavior", read.idleBehavior);
  read.motionEffect = JSON::orDefault(json, "motionEffect", read.motionEffect);
  settings = read.clamped();
}

}  // namespace quillant
