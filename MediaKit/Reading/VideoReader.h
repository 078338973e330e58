#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "Core/PixelBuffer.h"
#include "MediaKit/Reading/MediaTrack.h"

namespace quillant {

/// A picture, and the time for which it is shown: seconds from the file's zero.
struct VideoFrame {
  PixelBufferRef picture;
  double start = 0;
  double end = 0;  ///< Where the next one begins; for the last one as long as the file says.
};

struct VideoReaderOptions {
  /// A picture this much earlier than the one asked for will do, in seconds: that saves decoding up to it.
  double toleranceBefore = 0;
  /// Of the decoder.
  int threads = 1;
  /// Whether pictures say what differs from the one handed out before, which has to be found by looking. A
  /// frame that looks the same is the same picture then.
  bool findsChanges = false;
};

/// One video track of a file, decoded: the frame that is shown at a time, exactly, in files with B-frames,
/// long groups and variable rates. Times that rise are decoded on; others, and those behind a later keyframe,
/// are sought.
///
/// Pictures are planar, 8 or 10 bits, with 4:2:0, 4:2:2 or 4:4:4, or BGRA where the file holds RGB; they say
/// their colours. They are the decoder's own, not copies; the same frame asked for again is the same picture.
///
/// Blocking; belongs to one thread at a time. Throws `FileError` if the file cannot be opened, and
/// `MediaError`: of kind noVideoTrack, of kind unreadable if reading fails, and of kind codec for pictures
/// that cannot be shown rightly (BT.2020). What does not decode is passed over.
class VideoReader {
 public:
  /// `track` counts the file's video tracks from 0; cover pictures are none.
  explicit VideoReader(const std::filesystem::path& path, int track = 0, VideoReaderOptions options = {});
  ~VideoReader();
  VideoReader(VideoReader&&) noexcept;
  VideoReader& operator=(VideoReader&&) noexcept;

  const MediaTrack& track() const;
  /// The last frame that begins at `time` or before it, the first one before that. None if nothing decodes.
  std::optional<VideoFrame> frame(double time);

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace quillant
