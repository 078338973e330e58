#pragma once

#include <filesystem>
#include <string_view>

#include "Editor/Timeline/TimelineAudioSource.h"
#include "Editor/Timeline/TimelineSource.h"

namespace quillant {

/// Where a project's files lie: beside its main recording, with names made from the recording's. Pure.
namespace ProjectSourceFiles {

/// The path, without extension, of a source and of all that lies beside it; of the recording itself for
/// `primarySourceKey`.
std::filesystem::path stem(const std::filesystem::path& primary, std::string_view sourceID);
/// A file beside the source: its stem, and the extension.
std::filesystem::path sidecar(const std::filesystem::path& primary, std::string_view sourceID,
                              std::string_view extension);
std::filesystem::path file(const std::filesystem::path& primary, const TimelineSource& source);
std::filesystem::path file(const std::filesystem::path& primary, const TimelineAudioSource& source);

/// Whether a file beside the recording is one of the project's by its name, used in the edit or not.
bool isOwnName(const std::filesystem::path& primary, std::string_view name);

/// Between the recording's name and the id of what was added to it.
inline constexpr std::string_view addedInfix = ".source-";
inline constexpr std::string_view facecamExtension = "facecam.mov";
inline constexpr std::string_view cursorExtension = "cursor.json";
inline constexpr std::string_view cleanedVoiceExtension = "voice-clean.m4a";

}  // namespace ProjectSourceFiles
}  // namespace quillant
