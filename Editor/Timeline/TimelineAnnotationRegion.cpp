#include "Editor/Timeline/TimelineAnnotationRegion.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineAnnotationRegion& annotation) {
  json["id"] = annotation.id;
  json["span"] = annotation.span;
  json["text"] = annotation.text;
  json["x"] = annotation.x;
  json["y"] = annotation.y;
  json["fontSize"] = annotation.fontSize;
}

void from_json(const Json& json, TimelineAnnotationRegion& annotation) {
  annotation.id = JSON::required<UUID>(json, "id");
  annotation.span = JSON::required<TimelineSpan>(json, "span");
  annotation.text = JSON::required<std::string>(json, "text");
  annotation.x = JSON::required<double>(json, "x");
  annotation.y = JSON::required<double>(json, "y");
  annotation.fontSize = JSON::required<double>(json, "fontSize");
}

}  // namespace quillant
