#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

#include "CaptureEngine/RecoveryItem.h"
#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "Core/Task.h"

/// From what a sweep found to what the user is shown. What cannot be read of a file is absent.
namespace quillant::RecoveryPromptBuilder {

std::optional<std::int64_t> fileSize(const std::filesystem::path& url);
/// Pixels of the first video track as stored. Blocking.
std::optional<Size> pixelSize(const std::filesystem::path& url);
/// The picture at 1 s, or the first within 2 s after; null if there is none. Blocking.
PixelBufferRef defaultPoster(const std::filesystem::path& url);

using Poster = std::function<PixelBufferRef(const std::filesystem::path& url)>;

/// One item for each playable recording, in the same order. Runs off the main thread.
Task<std::vector<RecoveryItem>> items(std::vector<RecoverableRecording> recordings,
                                      Poster poster = defaultPoster);

}  // namespace quillant::RecoveryPromptBuilder
