#include "Editor/Project/ProjectSourceFiles.h"

#include <fmt/format.h>

namespace quillant::ProjectSourceFiles {

std::filesystem::path stem(const std::filesystem::path& primary, std::string_view sourceID) {
  auto path = primary.parent_path() / primary.stem();
  if (sourceID != primarySourceKey) path += fmt::format(".source-{}", sourceID);
  return path;
}

std::filesystem::path sidecar(const std::filesystem::path& primary, std::string_view sourceID,
                              std::string_view extension) {
  auto path = stem(primary, sourceID);
  path += '.';
  path += extension;
  return path;
}

std::filesystem::path file(const std::filesystem::path& primary, const TimelineSource& source) {
  return sidecar(primary, source.id, source.fileExtension);
}

std::filesystem::path file(const std::filesystem::path& primary, const TimelineAudioSource& source) {
  return sidecar(primary, source.id, source.fileExtension);
}

}  // namespace quillant::ProjectSourceFiles
