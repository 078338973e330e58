#include "Editor/Timeline/TimelineClip.h"

#include "Core/JSON.h"

namespace quillant {

TimelineCameraLayout TimelineClip::cameraLayout() const {
  if (cameraHidden.value_or(false)) return TimelineCameraLayout::hidden;
  if (cameraFullScreen.value_or(false)) return TimelineCameraLayout::fullScreen;
  return TimelineCameraLayout::bubble;
}

void to_json(Json& json, const TimelineClip& clip) {
  json["id"] = clip.id;
  json["start"] = clip.start;
  json["end"] = clip.end;
  json["speed"] = clip.speed;
  if (clip.source) json["source"] = *clip.source;
  if (clip.sound) json["sound"] = *clip.sound;
  if (clip.cameraHidden) json["cameraHidden"] = *clip.cameraHidden;
  if (clip.cameraFullScreen) json["cameraFullScreen"] = *clip.cameraFullScreen;
}

void from_json(const Json& json, TimelineClip& clip) {
  clip.id = JSON::required<UUID>(json, "id");
  clip.start = JSON::required<double>(json, "start");
  clip.end = JSON::required<double>(json, "end");
  clip.speed = JSON::required<double>(json, "speed");
  clip.source = JSON::optional<std::string>(json, "source");
  clip.sound = JSON::optional<TimelineRecordingSound>(json, "sound");
  clip.cameraHidden = JSON::optional<bool>(json, "cameraHidden");
  clip.cameraFullScreen = JSON::optional<bool>(json, "cameraFullScreen");
}

}  // namespace quillant
