#include "Editor/Timeline/TimelineClip.h"

#include "Core/JSONFields.h"

namespace quillant {

TimelineCameraLayout TimelineClip::cameraLayout() const {
  if (cameraHidden.value_or(false)) return TimelineCameraLayout::hidden;
  if (cameraFullScreen.value_or(false)) return TimelineCameraLayout::fullScreen;
  return TimelineCameraLayout::bubble;
}

namespace {

constexpr auto fields = [](auto& clip, const auto& field) {
  field("id", clip.id);
  field("start", clip.start);
  field("end", clip.end);
  field("speed", clip.speed);
  field("source", clip.source);
  field("sound", clip.sound);
  field("cameraHidden", clip.cameraHidden);
  field("cameraFullScreen", clip.cameraFullScreen);
};

}  // namespace

void to_json(Json& json, const TimelineClip& clip) {
  JSON::writeFields(json, clip, fields);
}

void from_json(const Json& json, TimelineClip& clip) {
  JSON::readFields(json, clip, fields);
}

}  // namespace quillant
