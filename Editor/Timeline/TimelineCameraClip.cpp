#include "Editor/Timeline/TimelineCameraClip.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& clip, const auto& field) {
  field.orMade("id", clip.id, UUID::random);
  field("span", clip.span);
  field.orDefault("settings", clip.settings);
};

}  // namespace

void to_json(Json& json, const TimelineCameraClip& clip) {
  JSON::writeFields(json, clip, fields);
}

void from_json(const Json& json, TimelineCameraClip& clip) {
  JSON::readFields(json, clip, fields);
  clip.settings = clip.settings.clamped();
}

}  // namespace quillant
