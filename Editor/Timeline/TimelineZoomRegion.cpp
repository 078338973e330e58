#include "Editor/Timeline/TimelineZoomRegion.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& zoom, const auto& field) {
  field.orMade("id", zoom.id, UUID::random);
  field("span", zoom.span);
  field.orDefault("depth", zoom.depth);
  field.orDefault("focusX", zoom.focusX);
  field.orDefault("focusY", zoom.focusY);
  field.orDefault("mode", zoom.mode);
  field.orDefault("animationPreset", zoom.animationPreset);
  field("sourceClickTimestamp", zoom.sourceClickTimestamp);
  field("softness", zoom.softness);
  field("easing", zoom.easing);
  field("followsCursor", zoom.followsCursor);
  field("source", zoom.source);
};

}  // namespace

void to_json(Json& json, const TimelineZoomRegion& zoom) {
  JSON::writeFields(json, zoom, fields);
}

void from_json(const Json& json, TimelineZoomRegion& zoom) {
  JSON::readFields(json, zoom, fields);
}

}  // namespace quillant
