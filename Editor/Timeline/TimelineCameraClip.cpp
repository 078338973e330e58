#include "Editor/Timeline/TimelineCameraClip.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineCameraClip& clip) {
  json["id"] = clip.id;
  json["span"] = clip.span;
  json["settings"] = clip.settings;
}

void from_json(const Json& json, TimelineCameraClip& clip) {
  const auto id = JSON::optional<UUID>(json, "id");
  clip.id = id ? *id : UUID::random();
  clip.span = JSON::required<TimelineSpan>(json, "span");
  clip.settings = JSON::orDefault(json, "settings", FacecamSettings()).clamped();
}

}  // namespace quillant
