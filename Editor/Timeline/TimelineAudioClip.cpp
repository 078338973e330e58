#include "Editor/Timeline/TimelineAudioClip.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineAudioClip& clip) {
  json["id"] = clip.id;
  json["source"] = clip.source;
  json["start"] = clip.start;
  json["sourceStart"] = clip.sourceStart;
  json["sourceEnd"] = clip.sourceEnd;
  json["speed"] = clip.speed;
  json["volume"] = clip.volume;
  json["muted"] = clip.muted;
  if (clip.voiceCleanup.value_or(false)) json["voiceCleanup"] = true;
}

void from_json(const Json& json, TimelineAudioClip& clip) {
  const TimelineAudioClip defaults;
  const auto id = JSON::optional<UUID>(json, "id");
  clip.id = id ? *id : UUID::random();
  clip.source = JSON::required<std::string>(json, "source");
  clip.start = JSON::required<double>(json, "start");
  clip.sourceStart = JSON::required<double>(json, "sourceStart");
  clip.sourceEnd = JSON::required<double>(json, "sourceEnd");
  clip.speed = JSON::orDefault(json, "speed", defaults.speed);
  clip.volume = JSON::orDefault(json, "volume", defaults.volume);
  clip.muted = JSON::orDefault(json, "muted", defaults.muted);
  clip.voiceCleanup = JSON::optional<bool>(json, "voiceCleanup");
  if (clip.voiceCleanup == false) clip.voiceCleanup.reset();
}

}  // namespace quillant
