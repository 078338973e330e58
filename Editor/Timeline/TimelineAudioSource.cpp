#include "Editor/Timeline/TimelineAudioSource.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const TimelineAudioSource& source) {
  json["id"] = source.id;
  json["kind"] = rawText(source.kind);
  json["fileExtension"] = source.fileExtension;
  json["displayName"] = source.displayName;
}

void from_json(const Json& json, TimelineAudioSource& source) {
  source.id = JSON::required<std::string>(json, "id");
  source.kind = JSON::required<TimelineAudioSource::Kind>(json, "kind");
  source.fileExtension = JSON::required<std::string>(json, "fileExtension");
  source.displayName = JSON::required<std::string>(json, "displayName");
}

}  // namespace quillant
