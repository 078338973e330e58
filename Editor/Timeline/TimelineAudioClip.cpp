#include "Editor/Timeline/TimelineAudioClip.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& clip, const auto& field) {
  field.orMade("id", clip.id, UUID::random);
  field("source", clip.source);
  field("start", clip.start);
  field("sourceStart", clip.sourceStart);
  field("sourceEnd", clip.sourceEnd);
  field.orDefault("speed", clip.speed);
  field.orDefault("volume", clip.volume);
  field.orDefault("muted", clip.muted);
  field("voiceCleanup", clip.voiceCleanup);
};

}  // namespace

void to_json(Json& json, const TimelineAudioClip& clip) {
  JSON::writeFields(json, clip, fields);
  if (clip.voiceCleanup == false) json.erase("voiceCleanup");
}

void from_json(const Json& json, TimelineAudioClip& clip) {
  JSON::readFields(json, clip, fields);
  if (clip.voiceCleanup == false) clip.voiceCleanup.reset();
}

}  // namespace quillant
