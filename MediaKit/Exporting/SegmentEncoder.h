#pragma once

#include <cstdint>
#include <vector>

#include "Core/PixelBuffer.h"
#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/EncoderPicture.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// Encodes one stretch of a video that begins with a keyframe, apart from all others: stretches of the same
/// settings follow each other in a file with one configuration. What a picture says did not change is not
/// encoded again.
///
/// Belongs to one thread. Throws `MediaError` of kind codec.
class SegmentEncoder {
 public:
  explicit SegmentEncoder(const VideoInputSettings& settings);

  std::vector<std::uint8_t> configuration() const { return encoder_.configuration(); }
  /// A planar picture of 8 bits and 4:2:0, of the settings' size. `time` and `duration` in ticks of
  /// `H264Encoder::timescale`.
  EncodedPacket encode(const PixelBuffer& picture, std::int64_t time, std::int64_t duration);

 private:
  int width_;
  int height_;
  H264Encoder encoder_;
  EncoderPicture picture_;
  std::uint64_t sequence_ = 0;  ///< Of the picture before; 0: unknown.
  bool isFirst_ = true;
};

}  // namespace quillant
