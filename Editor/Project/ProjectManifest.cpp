#include "Editor/Project/ProjectManifest.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const ProjectManifest& manifest) {
  json["schemaVersion"] = manifest.schemaVersion;
  json["title"] = manifest.title;
  json["createdAt"] = manifest.createdAt;
  json["updatedAt"] = manifest.updatedAt;
  json["share"] = manifest.share;
  if (manifest.sourceName) json["sourceName"] = *manifest.sourceName;
  if (manifest.facecamOffsetMs) json["facecamOffsetMs"] = *manifest.facecamOffsetMs;
  if (manifest.interruptedCause) json["interruptedCause"] = *manifest.interruptedCause;
}

void from_json(const Json& json, ProjectManifest& manifest) {
  manifest.schemaVersion = JSON::required<std::int64_t>(json, "schemaVersion");
  manifest.title = JSON::required<std::string>(json, "title");
  manifest.createdAt = JSON::required<std::string>(json, "createdAt");
  manifest.updatedAt = JSON::required<std::string>(json, "updatedAt");
  manifest.share = JSON::required<ProjectShareRecord>(json, "share");
  manifest.sourceName = JSON::optional<std::string>(json, "sourceName");
  manifest.facecamOffsetMs = JSON::optional<std::int64_t>(json, "facecamOffsetMs");
  manifest.interruptedCause = JSON::optional<std::string>(json, "interruptedCause");
}

}  // namespace quillant
