#include "CaptureEngine/RecordingMarker.h"

#include <unistd.h>

#include "CaptureEngine/RecordingFiles.h"
#include "Core/AtomicFile.h"
#include "Core/JSON.h"

namespace quillant {

void to_json(Json& json, const RecordingMarker& marker) {
  json = Json{{"startedAt", marker.startedAt}, {"pid", marker.pid}};
}

void from_json(const Json& json, RecordingMarker& marker) {
  marker.startedAt = JSON::required<Date>(json, "startedAt");
  marker.pid = JSON::required<std::int32_t>(json, "pid");
}

void RecordingMarker::write(const std::filesystem::path& screenVideo) {
  const RecordingMarker marker{.startedAt = Date::now(), .pid = ::getpid()};
  AtomicFile::write(RecordingFiles::marker(screenVideo), JSON::pretty(marker));
}

RecordingMarker RecordingMarker::read(const std::filesystem::path& path) {
  constexpr std::size_t limit = 1 << 16;
  return JSON::decode<RecordingMarker>(JSON::parse(AtomicFile::read(path, limit)));
}

}  // namespace quillant
