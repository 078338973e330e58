#pragma once

#include <filesystem>

#include "Core/MediaTime.h"
#include "Core/PixelBuffer.h"

namespace quillant {

struct FrameGrabOptions {
  /// A picture this much earlier than the time asked for will do; that saves decoding up to it.
  MediaTime toleranceBefore = MediaTime::zero();
  /// If nothing is shown at the time asked for, because the video starts later.
  MediaTime toleranceAfter = MediaTime::zero();
  /// The picture is made smaller so that neither side is longer; 0 leaves it as it is.
  int maximumSide = 0;
};

struct GrabbedFrame {
  PixelBufferRef picture;  ///< BGRA, upright: the track's rotation is applied.
  MediaTime time;          ///< Since when it is shown.
};

/// Single pictures out of a video, for posters and thumbnails.
namespace FrameGrabber {

/// The picture that is shown at `time` in the first video track. Blocking; any thread. Throws `FileError`,
/// and `MediaError` of kind unreadable, noVideoTrack, or noFrame if nothing is shown then.
GrabbedFrame grab(const std::filesystem::path& path, MediaTime time, const FrameGrabOptions& options = {});

}  // namespace FrameGrabber
}  // namespace quillant
