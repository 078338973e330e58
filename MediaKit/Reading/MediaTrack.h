#pragma once

#include "Core/AffineTransform.h"
#include "Core/Geometry.h"
#include "Core/MediaTime.h"

namespace quillant {

/// What a file says of one of its tracks.
struct MediaTrack {
  enum class Kind { video, audio };

  Kind kind = Kind::video;
  MediaTime duration;       ///< From the file's zero to the end of the track's last sample.
  Size naturalSize;         ///< Video: pixels as stored.
  AffineTransform upright;  ///< Video: from stored pixels to the picture as it is seen, which begins at the
                            ///< origin: pixel aspect, rotation by quarters, mirroring.
  Size displaySize;         ///< Video: of the upright picture.
  double nominalFrameRate = 0;  ///< Video: of the grid on which the frames lie, which a video of variable
                                ///< rate keeps while something moves; 0 if the file does not tell.
  int channels = 0;             ///< Audio.
  int sampleRate = 0;           ///< Audio: samples a second.
  friend bool operator==(const MediaTrack&, const MediaTrack&) = default;
};

}  // namespace quillant
