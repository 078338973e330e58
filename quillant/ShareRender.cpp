#include "quillant/ShareRender.h"

#include <exception>
#include <utility>

#include "Core/Log.h"

namespace quillant {

ShareRender::ShareRender(Executor mainThread, const EditorCoordinator& open, PendingUploadStore queue,
                         EditorExportQuality quality)
    : mainThread_(std::move(mainThread)), open_(open), queue_(std::move(queue)), quality_(quality) {}

ShareRender::Path ShareRender::newFile() {
  return file_ = queue_.newFile("share", ".mp4");
}

Task<bool> ShareRender::render(Path file, std::function<void(double)> progress) {
  const auto edit = open_.copy(mainThread_);
  if (file == file_) rendered_ = edit;
  // Captions go beside the video, where the viewer can switch them.
  constexpr bool burnsCaptions = false;
  const auto result = co_await edit->exportMP4(std::move(file), quality_, burnsCaptions, std::move(progress));
  co_return result.didPassthrough;
}

Task<std::optional<ShareRender::Path>> ShareRender::poster() const {
  constexpr int width = 1280;
  const auto edit = rendered_;
  auto file = queue_.newFile("poster", ".jpg");
  try {
    co_await edit->writeSharePoster(file, width);
    co_return file;
  } catch (const std::exception& error) {
    Log::write("the share has no poster: {}", error.what());
    co_return std::nullopt;
  }
}

Task<std::optional<ShareCaptions>> ShareRender::captions() const {
  const auto edit = rendered_;
  auto file = queue_.newFile("captions", ".vtt");
  const auto language = co_await edit->writeShareCaptions(file);
  if (!language) co_return std::nullopt;
  co_return ShareCaptions{.file = std::move(file), .language = *language};
}

}  // namespace quillant
