#include "Editor/Timeline/TimelineSource.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineSource& source) {
  json["id"] = source.id;
  json["kind"] = rawText(source.kind);
  json["fileExtension"] = source.fileExtension;
  if (source.facecamOffsetMs) json["facecamOffsetMs"] = *source.facecamOffsetMs;
  json["displayName"] = source.displayName;
}

void from_json(const Json& json, TimelineSource& source) {
  source.id = JSON::required<std::string>(json, "id");
  source.kind = JSON::required<TimelineSource::Kind>(json, "kind");
  source.fileExtension = JSON::required<std::string>(json, "fileExtension");
  source.facecamOffsetMs = JSON::optional<std::int64_t>(json, "facecamOffsetMs");
  source.displayName = JSON::required<std::string>(json, "displayName");
}

}  // namespace quillant
