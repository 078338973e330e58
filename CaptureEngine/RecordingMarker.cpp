#include "CaptureEngine/RecordingMarker.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

#include "CaptureEngine/RecordingFiles.h"
#include "Core/AtomicFile.h"
#include "Core/JSONFields.h"

namespace quillant {

namespace {

constexpr auto fields = [](auto& marker, const auto& field) {
  field("startedAt", marker.startedAt);
  field("pid", marker.pid);
};

}  // namespace

void to_json(Json& json, const RecordingMarker& marker) {
  JSON::writeFields(json, marker, fields);
}

void from_json(const Json& json, RecordingMarker& marker) {
  JSON::readFields(json, marker, fields);
}

void RecordingMarker::write(const std::filesystem::path& screenVideo) {
  const RecordingMarker marker{.startedAt = Date::now(), .pid = ::getpid()};
  AtomicFile::write(RecordingFiles::marker(screenVideo), JSON::pretty(marker));
}

RecordingMarker RecordingMarker::read(const std::filesystem::path& path) {
  constexpr std::size_t limit = 1 << 16;
  return JSON::decode<RecordingMarker>(JSON::parse(AtomicFile::read(path, limit)));
}

bool RecordingMarker::isOfAnotherRunningProcess() const {
  if (pid <= 0 || pid == ::getpid()) return false;
  return ::kill(pid, 0) == 0 || errno == EPERM;
}

}  // namespace quillant
