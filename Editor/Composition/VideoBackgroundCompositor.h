#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

#include "Core/PixelBuffer.h"
#include "Core/SerialQueue.h"
#include "DrawKit/BandPool.h"
#include "DrawKit/Renderer.h"
#include "Editor/Composition/FrameComposer.h"
#include "Editor/Composition/VideoBackgroundCompositionInstruction.h"
#include "Editor/Composition/WallpaperImageCache.h"

namespace quillant {

/// Makes finished frames from decoded ones: the preview, the poster and the export all ask here, so that what
/// a user sees is what a file holds.
///
/// All composing runs on the queue "quillant.video.compositor", one frame at a time; a compositor of its own
/// for each chain of an export that runs beside others. Of the frames before nothing is kept but what saves
/// work: a frame is the same whatever was composed before it.
class VideoBackgroundCompositor {
 public:
  struct Options {
    int threads =
        0;  ///< That share the rows of a frame, the queue's own among them; 0 is one for every core.
    /// What may be kept of pictures that come again, in bytes: backdrop, panel, shadow, glyphs, captions.
    std::size_t keptBytes = Renderer::Options{}.keptBytes;
    std::shared_ptr<WallpaperImageCache> wallpapers;  ///< None: every wallpaper is black.
  };

  /// One frame to compose.
  struct Request {
    std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction;
    double time = 0;  ///< Output seconds.
    /// What `requiredPictures` asks for, as it was decoded: planar or BGRA, with its tags, not upright yet. A
    /// camera that has no picture is not drawn. Read until the call returns; the pictures themselves may be
    /// held until the frame after is composed.
    std::span<const TrackFrame> frames;
  };

  explicit VideoBackgroundCompositor(const Options& options);

  /// The finished frame: I420 in BT.709, limited range, of the instruction's `renderSize`. Its primaries are
  /// those of P3 D65 by the tag that the writer sets; no colour is converted. Its `changed` says where it
  /// differs from the frame that was asked for before it. It may be held, and released on any thread, as long
  /// as its reader likes.
  ///
  /// Waits for its turn on the queue and for the frame; at once on the queue itself. Any thread. Throws
  /// `VideoCompositorError`; the next request is not affected.
  PixelBufferRef startRequest(const Request& request);

  /// Returns when every request that was made before has ended. Any thread.
  void cancelAllPendingVideoCompositionRequests();

 private:
  PixelBufferRef composeFrame(const Request& request);
  Renderer& rendererFor(const Size& size);

  // The queue's own.
  FrameComposer composer_;
  BandPool pool_;
  std::size_t keptBytes_;
  std::optional<Renderer> renderer_;
  Size rendererSize_;

  SerialQueue renderingQueue_{"quillant.video.compositor"};  ///< Destroyed first: what it runs uses the rest.
};

}  // namespace quillant
