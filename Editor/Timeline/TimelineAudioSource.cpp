#include "Editor/Timeline/TimelineAudioSource.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& source, const auto& field) {
  field("id", source.id);
  field("kind", source.kind);
  field("fileExtension", source.fileExtension);
  field("displayName", source.displayName);
};

}  // namespace

void to_json(Json& json, const TimelineAudioSource& source) {
  JSON::writeFields(json, source, fields);
}

void from_json(const Json& json, TimelineAudioSource& source) {
  JSON::readFields(json, source, fields);
}

}  // namespace quillant
