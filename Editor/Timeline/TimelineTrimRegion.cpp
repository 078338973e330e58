#include "Editor/Timeline/TimelineTrimRegion.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineTrimRegion& trim) {
  json["id"] = trim.id;
  json["span"] = trim.span;
}

void from_json(const Json& json, TimelineTrimRegion& trim) {
  trim.id = JSON::required<UUID>(json, "id");
  trim.span = JSON::required<TimelineSpan>(json, "span");
}

}  // namespace quillant
