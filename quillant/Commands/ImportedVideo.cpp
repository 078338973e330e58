#include "quillant/Commands/ImportedVideo.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "Core/Date.h"
#include "Core/Error.h"
#include "Core/UUID.h"
#include "Editor/Coordinator/EditorError.h"
#include "Editor/Coordinator/RecordingSideFiles.h"
#include "MediaKit/Reading/AssetProbe.h"

namespace quillant {

namespace {

class NoSuchFile : public Error {
 public:
  explicit NoSuchFile(const std::string& file) : Error("no such file: " + file) {}
};

}  // namespace

Task<ImportedVideo> ImportedVideo::import(ProjectLibrary library, std::string file,
                                          std::optional<std::string> title) {
  // As it lies: the project finds it from any folder, and not through a link that may change.
  std::error_code missing;
  const auto video = std::filesystem::canonical(file, missing);
  if (missing) throw NoSuchFile(file);
  const auto asset = AssetProbe::probe(video);
  if (asset.tracksOfKind(MediaTrack::Kind::video).empty()) throw EditorError::noVideoTrack(video);
  auto media = RecordingSideFiles::found({.screenVideoPath = video.string()}, asset);
  const auto now = Date::now().iso8601();
  ProjectStore::CreateOptions created{.id = UUID::random().text(),
                                      .title = title.value_or(video.stem().string()),
                                      .createdAt = now,
                                      .updatedAt = now};
  const auto [entry, isNew] = co_await library.registerRecording(std::move(media), std::move(created));
  co_return ImportedVideo{.id = entry.summary.id, .title = entry.summary.title, .isNew = isNew};
}

}  // namespace quillant
