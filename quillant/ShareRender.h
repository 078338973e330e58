#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "Core/Task.h"
#include "Editor/Coordinator/EditorCoordinator.h"
#include "QuillantCloud/PendingUploadStore.h"
#include "QuillantShare/ShareRecords.h"

namespace quillant {

/// Makes what a share sends. The open edit is copied as its rendering begins, so that poster and captions are
/// of the edit that was rendered, whatever is edited meanwhile. Belongs to the main thread and outlives its
/// tasks.
class ShareRender {
 public:
  using Path = std::filesystem::path;

  /// `open` outlives it. The files lie in the queue's folder, which nobody else reads and no restart empties,
  /// and go with their upload.
  ShareRender(Executor mainThread, const EditorCoordinator& open, PendingUploadStore queue,
              EditorExportQuality quality);

  /// Where the next share is rendered to.
  Path newFile();
  /// Whether the file is a copy of the recording's samples. To any other file than the last `newFile` a video
  /// that is no share's. Throws as `EditorCoordinator::exportMP4`.
  Task<bool> render(Path file, std::function<void(double)> progress);
  /// Of the share that was rendered last. A video without a poster is a video.
  Task<std::optional<Path>> poster() const;
  /// None if the edit has none. Throws `CaptionsNotReady` and `FileError`.
  Task<std::optional<ShareCaptions>> captions() const;

 private:
  const Executor mainThread_;
  const EditorCoordinator& open_;
  const PendingUploadStore queue_;
  const EditorExportQuality quality_;
  Path file_;
  std::shared_ptr<EditorCoordinator> rendered_;
};

}  // namespace quillant
