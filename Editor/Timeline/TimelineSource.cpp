#include "Editor/Timeline/TimelineSource.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& source, const auto& field) {
  field("id", source.id);
  field("kind", source.kind);
  field("fileExtension", source.fileExtension);
  field("facecamOffsetMs", source.facecamOffsetMs);
  field("displayName", source.displayName);
};

}  // namespace

void to_json(Json& json, const TimelineSource& source) {
  JSON::writeFields(json, source, fields);
}

void from_json(const Json& json, TimelineSource& source) {
  JSON::readFields(json, source, fields);
}

}  // namespace quillant
