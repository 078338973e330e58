#include "Editor/Timeline/TimelineRecordingSound.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& sound, const auto& field) {
  field.orDefault("micVolume", sound.micVolume);
  field.orDefault("micMuted", sound.micMuted);
  field.orDefault("systemVolume", sound.systemVolume);
  field.orDefault("systemMuted", sound.systemMuted);
  field.orDefault("voiceCleanup", sound.voiceCleanup);
};

}  // namespace

void to_json(Json& json, const TimelineRecordingSound& sound) {
  JSON::writeFields(json, sound, fields);
}

void from_json(const Json& json, TimelineRecordingSound& sound) {
  JSON::readFields(json, sound, fields);
}

}  // namespace quillant
