#include "Editor/Project/RecordingSession.h"

#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const RecordingSession& session) {
  json["screenVideoPath"] = session.screenVideoPath;
  json["showCursorOverlay"] = session.showCursorOverlay;
  if (session.facecamVideoPath) json["facecamVideoPath"] = *session.facecamVideoPath;
  if (session.facecamOffsetMs) json["facecamOffsetMs"] = *session.facecamOffsetMs;
  if (session.facecamSettings) json["facecamSettings"] = *session.facecamSettings;
  if (session.sourceName) json["sourceName"] = *session.sourceName;
  if (session.cursorTelemetryPath) json["cursorTelemetryPath"] = *session.cursorTelemetryPath;
}

void from_json(const Json& json, RecordingSession& session) {
  session.screenVideoPath = JSON::required<std::string>(json, "screenVideoPath");
  session.showCursorOverlay = JSON::required<bool>(json, "showCursorOverlay");
  session.facecamVideoPath = JSON::optional<std::string>(json, "facecamVideoPath");
  session.facecamOffsetMs = JSON::optional<std::int64_t>(json, "facecamOffsetMs");
  session.facecamSettings = JSON::optional<FacecamSettings>(json, "facecamSettings");
  session.sourceName = JSON::optional<std::string>(json, "sourceName");
  session.cursorTelemetryPath = JSON::optional<std::string>(json, "cursorTelemetryPath");
}

}  // namespace quillant
