#include "CaptureEngine/RecoveryService.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <system_error>

#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/RecordingMarker.h"
#include "Core/Error.h"
#include "Core/Folder.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

namespace fs = std::filesystem;

namespace {

/// The entries of a folder in the order in which it lists them; none if it cannot be listed.
std::vector<fs::path> entries(const fs::path& folder) {
  std::vector<fs::path> result;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
    result.push_back(entry->path());
  return result;
}

std::optional<fs::path> ifExists(fs::path path) {
  std::error_code ignored;
  return fs::exists(path, ignored) ? std::optional(std::move(path)) : std::nullopt;
}

void removeFile(const fs::path& path) {
  std::error_code ignored;
  fs::remove(path, ignored);
}

RecoverableRecording::Status assess(const fs::path& video) {
  using Unsalvageable = RecoverableRecording::Unsalvageable;
  try {
    const auto asset = AssetProbe::probe(video);
    if (asset.tracksOfKind(MediaTrack::Kind::video).empty())
      return Unsalvageable{"no video track in the partial"};
    const double seconds = asset.duration.seconds();
    if (!(seconds > 0) || !std::isfinite(seconds)) return Unsalvageable{"video track is empty"};
    return RecoverableRecording::Playable{seconds};
  } catch (const Error&) {
    return Unsalvageable{
        "unreadable partial — the recording died before the first fragment flush (~2s), so nothing playable "
        "reached disk"};
  }
}

RecoverableRecording examine(const fs::path& marker) {
  RecoverableRecording recording;
  recording.marker = marker;
  recording.screenVideo = fs::path(marker).replace_extension(".mp4");
  recording.facecam = ifExists(RecordingFiles::facecam(recording.screenVideo));
  recording.cursorTelemetry = ifExists(RecordingFiles::cursorTelemetry(recording.screenVideo));
  try {
    recording.startedAt = RecordingMarker::read(marker).startedAt;
  } catch (const Error&) {
    // A marker that cannot be read still marks an orphan.
  }
  recording.status = ifExists(recording.screenVideo)
                         ? assess(recording.screenVideo)
                         : RecoverableRecording::Unsalvageable{"recording file is missing"};
  return recording;
}

Task<std::vector<RecoverableRecording>> sweepDirectory(fs::path directory) {
  std::vector<RecoverableRecording> found;
  for (const auto& path : entries(directory))
    if (path.extension() == RecordingFiles::markerExtension) found.push_back(examine(path));
  std::stable_sort(found.begin(), found.end(), [](const auto& left, const auto& right) {
    return left.startedAt.value_or(Date::distantPast()) > right.startedAt.value_or(Date::distantPast());
  });
  co_return found;
}

}  // namespace

Task<std::vector<RecoverableRecording>> RecoveryService::sweep() const {
  return runOn(backgroundExecutor(), sweepDirectory(directory));
}

void RecoveryService::keep(const RecoverableRecording& recording) const {
  removeFile(recording.marker);
}

void RecoveryService::removeMarker(const fs::path& screenVideo) {
  removeFile(RecordingFiles::marker(screenVideo));
}

void RecoveryService::removeArtifacts(const fs::path& screenVideo) {
  removeFile(screenVideo);
  removeFile(RecordingFiles::facecam(screenVideo));
  removeFile(RecordingFiles::cursorTelemetry(screenVideo));
  removeMarker(screenVideo);
  const auto replacedSources = screenVideo.stem().string() + ".source-";
  const auto folder = Folder::of(screenVideo);
  for (const auto& path : entries(folder))
    if (path.filename().string().starts_with(replacedSources)) removeFile(path);
}

}  // namespace quillant
