#include "Editor/Project/ProjectManifest.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& manifest, const auto& field) {
  field("schemaVersion", manifest.schemaVersion);
  field("title", manifest.title);
  field("sourceName", manifest.sourceName);
  field("createdAt", manifest.createdAt);
  field("updatedAt", manifest.updatedAt);
  field("facecamOffsetMs", manifest.facecamOffsetMs);
  field("share", manifest.share);
  field("interruptedCause", manifest.interruptedCause);
};

}  // namespace

void to_json(Json& json, const ProjectManifest& manifest) {
  JSON::writeFields(json, manifest, fields);
}

void from_json(const Json& json, ProjectManifest& manifest) {
  JSON::readFields(json, manifest, fields);
}

}  // namespace quillant
