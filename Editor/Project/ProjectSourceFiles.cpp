#include "Editor/Project/ProjectSourceFiles.h"

#include <fmt/format.h>

namespace quillant::ProjectSourceFiles {

std::filesystem::path stem(const std::filesystem::path& primary, std::string_view sourceID) {
  auto path = primary.parent_path() / primary.stem();
  if (sourceID != primarySourceKey) path += fmt::format("{}{}", addedInfix, sourceID);
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

bool isOwnName(const std::filesystem::path& primary, std::string_view name) {
  const auto isSidecar = [&](std::string_view extension) {
    return name == sidecar(primary, primarySourceKey, extension).filename();
  };
  return name.starts_with(fmt::format("{}{}", primary.stem().string(), addedInfix)) ||
         isSidecar(facecamExtension) || isSidecar(cursorExtension) || isSidecar(cleanedVoiceExtension);
}

}  // namespace quillant::ProjectSourceFiles
