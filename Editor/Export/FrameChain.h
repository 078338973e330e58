#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "Core/PixelBuffer.h"
#include "Editor/Composition/VideoBackgroundCompositor.h"
#include "Editor/Export/MultiSourceComposition.h"
#include "MediaKit/Reading/VideoReader.h"

namespace quillant {

/// Finished frames of an edit: decodes what a frame needs and composes it. The poster, a picture of one
/// moment and each chain of an export have one of their own; a frame is the same from all of them.
///
/// Belongs to one thread at a time; blocking. Throws `VideoCompositorError`, and what `VideoReader` throws.
class FrameChain {
 public:
  struct Options {
    int decodingThreads = 1;
    int composingThreads = 1;  ///< 0 is one for every core.
    bool findsChanges =
        true;  ///< Whether frames say what differs from the one before; an encoder wants to know.
    std::shared_ptr<WallpaperImageCache> wallpapers;  ///< None: every wallpaper is black.
  };

  FrameChain(std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction,
             std::vector<MultiSourceComposition::VideoTrack> tracks, const Options& options);

  /// The frame at an output time in seconds.
  PixelBufferRef frame(double time);

 private:
  struct Track {
    MultiSourceComposition::VideoTrack description;
    std::optional<VideoReader> reader;  ///< Open from its first frame on.
  };

  PixelBufferRef decode(int trackID, double time);

  std::shared_ptr<const VideoBackgroundCompositionInstruction> instruction_;
  std::vector<Track> tracks_;
  Options options_;
  VideoBackgroundCompositor compositor_;
};

}  // namespace quillant
