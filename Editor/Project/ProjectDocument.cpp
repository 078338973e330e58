#include "Editor/Project/ProjectDocument.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const ProjectDocument& document) {
  json["schemaVersion"] = document.schemaVersion;
  json["title"] = document.title;
  json["createdAt"] = document.createdAt;
  json["updatedAt"] = document.updatedAt;
  json["id"] = document.id;
  json["share"] = document.share;
  if (document.recordingPath) json["recordingPath"] = *document.recordingPath;
  if (document.screenshotPath) json["screenshotPath"] = *document.screenshotPath;
  if (document.sourceName) json["sourceName"] = *document.sourceName;
  if (document.editorState) json["editorState"] = *document.editorState;
  if (document.recordingSession) json["recordingSession"] = *document.recordingSession;
  if (document.interruptedCause) json["interruptedCause"] = *document.interruptedCause;
}

void from_json(const Json& json, ProjectDocument& document) {
  document.schemaVersion = JSON::required<std::int64_t>(json, "schemaVersion");
  document.title = JSON::required<std::string>(json, "title");
  document.createdAt = JSON::required<std::string>(json, "createdAt");
  document.updatedAt = JSON::required<std::string>(json, "updatedAt");
  document.id = JSON::required<std::string>(json, "id");
  document.share = JSON::required<ProjectShareRecord>(json, "share");
  document.recordingPath = JSON::optional<std::string>(json, "recordingPath");
  document.screenshotPath = JSON::optional<std::string>(json, "screenshotPath");
  document.sourceName = JSON::optional<std::string>(json, "sourceName");
  document.editorState = JSON::optional<ProjectEditorState>(json, "editorState");
  document.recordingSession = JSON::optional<RecordingSession>(json, "recordingSession");
  document.interruptedCause = JSON::optional<std::string>(json, "interruptedCause");
}

}  // namespace quillant
