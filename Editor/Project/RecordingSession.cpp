#include "Editor/Project/RecordingSession.h"

#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& session, const auto& field) {
  field("screenVideoPath", session.screenVideoPath);
  field("facecamVideoPath", session.facecamVideoPath);
  field("facecamOffsetMs", session.facecamOffsetMs);
  field("facecamSettings", session.facecamSettings);
  field("sourceName", session.sourceName);
  field("showCursorOverlay", session.showCursorOverlay);
  field("cursorTelemetryPath", session.cursorTelemetryPath);
};

}  // namespace

void to_json(Json& json, const RecordingSession& session) {
  JSON::writeFields(json, session, fields);
}

void from_json(const Json& json, RecordingSession& session) {
  JSON::readFields(json, session, fields);
}

}  // namespace quillant
