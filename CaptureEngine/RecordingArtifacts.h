#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/ClickDiagnostics.h"

namespace quillant {

/// What a session has left on disk.
struct RecordingArtifacts {
  std::filesystem::path screenVideo;
  std::optional<std::filesystem::path> facecam;  ///< Set only if the camera delivered at least one frame.
  std::optional<std::int64_t> facecamOffsetMs;   ///< Facecam start minus screen start.
  std::optional<std::filesystem::path> cursorTelemetry;
  std::vector<std::string> warnings;                 ///< Things the user should know; never fatal.
  std::optional<ClickDiagnostics> clickDiagnostics;  ///< Set only if `cursorTelemetry` is.

  friend bool operator==(const RecordingArtifacts&, const RecordingArtifacts&) = default;
};

}  // namespace quillant
