#include "CaptureEngine/RecordingFiles.h"

namespace quillant::RecordingFiles {

std::filesystem::path facecam(std::filesystem::path screenVideo) {
  return screenVideo.replace_extension(".facecam.mov");
}

std::filesystem::path cursorTelemetry(std::filesystem::path screenVideo) {
  return screenVideo.replace_extension(".cursor.json");
}

std::filesystem::path marker(std::filesystem::path screenVideo) {
  return screenVideo.replace_extension(markerExtension);
}

}  // namespace quillant::RecordingFiles
