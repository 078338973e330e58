#include "CaptureEngine/RecoveryPromptBuilder.h"

#include <system_error>
#include <utility>

#include "Core/Error.h"
#include "MediaKit/Reading/AssetProbe.h"
#include "MediaKit/Reading/FrameGrabber.h"

namespace quillant::RecoveryPromptBuilder {

namespace {

Task<std::vector<RecoveryItem>> build(std::vector<RecoverableRecording> recordings, Poster poster) {
  std::vector<RecoveryItem> result;
  for (auto& recording : recordings) {
    const auto* playable = std::get_if<RecoverableRecording::Playable>(&recording.status);
    if (!playable) continue;
    const auto& url = recording.screenVideo;
    RecoveryItem item{.recording = {},
                      .duration = playable->duration,
                      .startedAt = recording.startedAt,
                      .sizeBytes = fileSize(url),
                      .pixelSize = pixelSize(url),
                      .poster = poster(url)};
    item.recording = std::move(recording);
    result.push_back(std::move(item));
  }
  co_return result;
}

}  // namespace

std::optional<std::int64_t> fileSize(const std::filesystem::path& url) {
  std::error_code error;
  const auto bytes = std::filesystem::file_size(url, error);
  return error ? std::nullopt : std::optional(static_cast<std::int64_t>(bytes));
}

std::optional<Size> pixelSize(const std::filesystem::path& url) {
  try {
    const auto tracks = AssetProbe::probe(url).tracksOfKind(MediaTrack::Kind::video);
    return tracks.empty() ? std::nullopt : std::optional(tracks.front().naturalSize);
  } catch (const Error&) {
    return std::nullopt;
  }
}

PixelBufferRef defaultPoster(const std::filesystem::path& url) {
  try {
    return FrameGrabber::grab(url, MediaTime{1, 1}, {.toleranceAfter = MediaTime{2, 1}}).picture;
  } catch (const Error&) {
    return nullptr;
  }
}

Task<std::vector<RecoveryItem>> items(std::vector<RecoverableRecording> recordings, Poster poster) {
  return runOn(backgroundExecutor(), build(std::move(recordings), std::move(poster)));
}

}  // namespace quillant::RecoveryPromptBuilder
