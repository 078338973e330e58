#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Editor/Project/ProjectEditorState.h"
#include "Editor/Project/ProjectShareRecord.h"
#include "Editor/Project/RecordingSession.h"

namespace quillant {

/// One recording as a project: where its media lies, how it was made, its link, and its whole edit.
struct ProjectDocument {
  static constexpr std::int64_t currentSchemaVersion = 3;

  std::int64_t schemaVersion = currentSchemaVersion;  ///< Written and read back; gates nothing.
  std::string title;
  std::optional<std::string> recordingPath;  ///< Absolute, of the screen video.
  std::optional<std::string> screenshotPath;
  std::optional<std::string> sourceName;
  std::string createdAt;  ///< ISO 8601, UTC.
  std::string updatedAt;
  std::optional<ProjectEditorState> editorState;
  std::optional<RecordingSession> recordingSession;
  std::string id;  ///< An identifier's text; also the base name of the document's file.
  ProjectShareRecord share;
  std::optional<std::string> interruptedCause;  ///< Why the recording ended early.

  friend bool operator==(const ProjectDocument&, const ProjectDocument&) = default;
};

void to_json(Json& json, const ProjectDocument& document);
void from_json(const Json& json, ProjectDocument& document);

}  // namespace quillant
