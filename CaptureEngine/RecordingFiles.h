#pragma once

#include <filesystem>

/// The files of one recording, all beside its screen video `x.mp4`.
namespace quillant::RecordingFiles {

std::filesystem::path facecam(std::filesystem::path screenVideo);          ///< x.facecam.mov
std::filesystem::path cursorTelemetry(std::filesystem::path screenVideo);  ///< x.cursor.json
std::filesystem::path marker(std::filesystem::path screenVideo);           ///< x.recording

inline constexpr const char* markerExtension = ".recording";

}  // namespace quillant::RecordingFiles
