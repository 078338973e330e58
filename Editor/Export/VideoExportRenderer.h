#pragma once

#include <filesystem>
#include <functional>
#include <memory>

#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"
#include "Editor/Composition/WallpaperImageCache.h"
#include "Editor/Export/MultiSourceComposition.h"
#include "Editor/Export/VideoExportCancellationToken.h"
#include "Editor/Export/VideoExportOptions.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// Makes a file of an edit: a copy of the recording's own samples where nothing changes, and otherwise
/// pictures that are composed and encoded anew.
///
/// Blocking, on the calling thread and threads of its own; progress is reported on the calling thread. Throws
/// `VideoExportRendererError`, `MultiSourceCompositionError`, and `FileError` for what the disk refuses. The
/// file appears under its name when it is whole; whatever fails or is cancelled, nothing of it is there, and
/// what was there before stays.
namespace VideoExportRenderer {

/// Everything of one export that does not depend on where it goes. Made once, used once.
struct RenderContext {
  std::filesystem::path source;  ///< The main recording.
  MultiSourceComposition::Built built;
  double duration = 0;  ///< Output seconds.
  Size outputSize;      ///< Pixels.
  MediaTime frameDuration;
  bool isIdentity = false;  ///< The recording's own samples are the result.
};

using MultiSourceComposition::Sound;

/// A GIF has no sound in any case. Throws as `MultiSourceComposition::make` does, and
/// `VideoExportRendererError` of kind emptyTimeline.
RenderContext makeRenderContext(const std::filesystem::path& source, const VideoExportOptions& options,
                                const TimelineEditSnapshot& edits, Sound sound = Sound::included);

/// Takes numbers from 0 to 1 that rise.
using ProgressHandler = std::function<void(double)>;

struct Environment {
  int threads = 0;  ///< 0 is one for every core. The file's bytes do not depend on it.
  std::shared_ptr<WallpaperImageCache> wallpapers;
};

/// The picture of the finished video at an output time, which is brought into the output.
PixelBufferRef composedFrame(const RenderContext& context, double time, const Environment& environment = {});

VideoExportResult exportMovie(const RenderContext& context, const std::filesystem::path& target,
                              const VideoExportOptions& options,
                              const VideoExportCancellationToken& cancellation,
                              const ProgressHandler& progress, const Environment& environment = {});

/// The same for a GIF, of the size that the options ask for, without sound.
VideoExportResult exportGIF(const RenderContext& context, const std::filesystem::path& target,
                            const VideoExportOptions& options,
                            const VideoExportCancellationToken& cancellation, const ProgressHandler& progress,
                            const Environment& environment = {});

}  // namespace VideoExportRenderer
}  // namespace quillant
