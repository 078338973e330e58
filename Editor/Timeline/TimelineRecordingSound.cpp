#include "Editor/Timeline/TimelineRecordingSound.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineRecordingSound& sound) {
  json["micVolume"] = sound.micVolume;
  json["micMuted"] = sound.micMuted;
  json["systemVolume"] = sound.systemVolume;
  json["systemMuted"] = sound.systemMuted;
  json["voiceCleanup"] = sound.voiceCleanup;
}

void from_json(const Json& json, TimelineRecordingSound& sound) {
  const TimelineRecordingSound defaults;
  sound.micVolume = JSON::orDefault(json, "micVolume", defaults.micVolume);
  sound.micMuted = JSON::orDefault(json, "micMuted", defaults.micMuted);
  sound.systemVolume = JSON::orDefault(json, "systemVolume", defaults.systemVolume);
  sound.systemMuted = JSON::orDefault(json, "systemMuted", defaults.systemMuted);
  sound.voiceCleanup = JSON::orDefault(json, "voiceCleanup", defaults.voiceCleanup);
}

}  // namespace quillant
