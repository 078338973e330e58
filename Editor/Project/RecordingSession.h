#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Editor/Timeline/FacecamSettings.h"

namespace quillant {

/// How a project's media was made. Paths are absolute.
struct RecordingSession {
  std::string screenVideoPath;
  std::optional<std::string> facecamVideoPath;
  std::optional<std::int64_t> facecamOffsetMs;  ///< The camera's start minus the screen's.
  std::optional<FacecamSettings> facecamSettings;
  std::optional<std::string> sourceName;
  bool showCursorOverlay = false;
  std::optional<std::string> cursorTelemetryPath;

  friend bool operator==(const RecordingSession&, const RecordingSession&) = default;
};

void to_json(Json& json, const RecordingSession& session);
void from_json(const Json& json, RecordingSession& session);

/// What a finished recording hands to the project store. Paths are absolute.
struct RecordingHandoffFields {
  std::string screenVideoPath;
  std::optional<std::string> cursorTelemetryPath;
  std::optional<std::string> facecamVideoPath;
  std::optional<std::int64_t> facecamOffsetMs;
  std::optional<std::string> sourceName;

  friend bool operator==(const RecordingHandoffFields&, const RecordingHandoffFields&) = default;
};

}  // namespace quillant
