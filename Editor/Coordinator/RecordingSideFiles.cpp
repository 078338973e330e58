#include "Editor/Coordinator/RecordingSideFiles.h"

#include <filesystem>
#include <string_view>
#include <system_error>

#include "Core/Error.h"
#include "Editor/Project/ProjectSourceFiles.h"

namespace quillant::RecordingSideFiles {

namespace {

std::optional<std::string> sideFile(const RecordingHandoffFields& media,
                                    const std::optional<std::string>& named, std::string_view extension) {
  const auto path = named ? std::filesystem::path(*named)
                          : ProjectSourceFiles::sidecar(media.screenVideoPath, primarySourceKey, extension);
  std::error_code missing;
  if (!std::filesystem::is_regular_file(path, missing)) return std::nullopt;
  return path.string();
}

/// None if the files do not tell, or were not recorded at one time.
std::optional<std::int64_t> cameraOffset(const MediaAsset& screen, const std::string& camera) try {
  const auto asset = AssetProbe::probe(camera);
  const auto offset = asset.sessionStart - screen.sessionStart;
  if (!(offset < screen.duration && MediaTime::zero() < offset + asset.duration)) return std::nullopt;
  return offset.converted(1000).value;
} catch (const Error&) {
  return std::nullopt;
}

}  // namespace

RecordingHandoffFields found(RecordingHandoffFields media, const MediaAsset& screen) {
  media.facecamVideoPath = sideFile(media, media.facecamVideoPath, ProjectSourceFiles::facecamExtension);
  media.cursorTelemetryPath = sideFile(media, media.cursorTelemetryPath, ProjectSourceFiles::cursorExtension);
  if (!media.facecamVideoPath)
    media.facecamOffsetMs.reset();
  else if (!media.facecamOffsetMs)
    media.facecamOffsetMs = cameraOffset(screen, *media.facecamVideoPath);
  return media;
}

}  // namespace quillant::RecordingSideFiles
