#include "Editor/Timeline/TimelineZoomRegion.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineZoomRegion& zoom) {
  json["id"] = zoom.id;
  json["span"] = zoom.span;
  json["depth"] = zoom.depth;
  json["focusX"] = zoom.focusX;
  json["focusY"] = zoom.focusY;
  json["mode"] = rawText(zoom.mode);
  json["animationPreset"] = rawText(zoom.animationPreset);
  if (zoom.sourceClickTimestamp) json["sourceClickTimestamp"] = *zoom.sourceClickTimestamp;
  if (zoom.softness) json["softness"] = *zoom.softness;
  if (zoom.easing) json["easing"] = rawText(*zoom.easing);
  if (zoom.followsCursor) json["followsCursor"] = *zoom.followsCursor;
  if (zoom.source) json["source"] = *zoom.source;
}

void from_json(const Json& json, TimelineZoomRegion& zoom) {
  const TimelineZoomRegion defaults;
  const auto id = JSON::optional<UUID>(json, "id");
  zoom.id = id ? *id : UUID::random();
  zoom.span = JSON::required<TimelineSpan>(json, "span");
  zoom.depth = JSON::orDefault(json, "depth", defaults.depth);
  zoom.focusX = JSON::orDefault(json, "focusX", defaults.focusX);
  zoom.focusY = JSON::orDefault(json, "focusY", defaults.focusY);
  zoom.mode = JSON::orDefault(json, "mode", defaults.mode);
  zoom.animationPreset = JSON::orDefault(json, "animationPreset", defaults.animationPreset);
  zoom.sourceClickTimestamp = JSON::optional<std::int64_t>(json, "sourceClickTimestamp");
  zoom.softness = JSON::optional<double>(json, "softness");
  zoom.easing = JSON::optional<TimelineZoomEasing>(json, "easing");
  zoom.followsCursor = JSON::optional<bool>(json, "followsCursor");
  zoom.source = JSON::optional<std::string>(json, "source");
}

}  // namespace quillant
