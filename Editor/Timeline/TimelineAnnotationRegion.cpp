#include "Editor/Timeline/TimelineAnnotationRegion.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& annotation, const auto& field) {
  field("id", annotation.id);
  field("span", annotation.span);
  field("text", annotation.text);
  field("x", annotation.x);
  field("y", annotation.y);
  field("fontSize", annotation.fontSize);
};

}  // namespace

void to_json(Json& json, const TimelineAnnotationRegion& annotation) {
  JSON::writeFields(json, annotation, fields);
}

void from_json(const Json& json, TimelineAnnotationRegion& annotation) {
  JSON::readFields(json, annotation, fields);
}

}  // namespace quillant
