#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Editor/Project/ProjectDocument.h"

namespace quillant {

/// The part of a document that travels in a bundle: nothing that names a place on this machine.
struct ProjectManifest {
  std::int64_t schemaVersion = ProjectDocument::currentSchemaVersion;
  std::string title;
  std::optional<std::string> sourceName;
  std::string createdAt;
  std::string updatedAt;
  std::optional<std::int64_t> facecamOffsetMs;
  ProjectShareRecord share;
  std::optional<std::string> interruptedCause;

  friend bool operator==(const ProjectManifest&, const ProjectManifest&) = default;
};

void to_json(Json& json, const ProjectManifest& manifest);
void from_json(const Json& json, ProjectManifest& manifest);

}  // namespace quillant
