#include "Editor/Project/ProjectDocument.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& document, const auto& field) {
  field("schemaVersion", document.schemaVersion);
  field("title", document.title);
  field("recordingPath", document.recordingPath);
  field("screenshotPath", document.screenshotPath);
  field("sourceName", document.sourceName);
  field("createdAt", document.createdAt);
  field("updatedAt", document.updatedAt);
  field("editorState", document.editorState);
  field("recordingSession", document.recordingSession);
  field("id", document.id);
  field("share", document.share);
  field("interruptedCause", document.interruptedCause);
};

}  // namespace

void to_json(Json& json, const ProjectDocument& document) {
  JSON::writeFields(json, document, fields);
}

void from_json(const Json& json, ProjectDocument& document) {
  JSON::readFields(json, document, fields);
}

}  // namespace quillant
