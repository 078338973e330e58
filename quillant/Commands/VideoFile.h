#pragma once

#include <filesystem>

#include "quillant/CloudServices.h"

/// What an upload needs to know and to show of a video. Blocking; throws `FileError` and `MediaError`.
namespace quillant::VideoFile {

VideoFacts probe(const std::filesystem::path& video);
/// Writes an early frame to `poster` as a JPEG.
void makePoster(const std::filesystem::path& video, const std::filesystem::path& poster);

}  // namespace quillant::VideoFile
