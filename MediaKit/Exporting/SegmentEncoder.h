#pragma once

#include <cstdint>

#include "Core/PixelBuffer.h"
#include "MediaKit/Exporting/BitRateCap.h"
#include "MediaKit/Exporting/RepeatedPicture.h"
#include "MediaKit/Writing/EncodedPacket.h"
#include "MediaKit/Writing/EncoderPicture.h"
#include "MediaKit/Writing/H264Encoder.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// Encodes one stretch of a video that begins with a keyframe, apart from all others: stretches of the same
/// settings follow each other in a file with one configuration. What a picture says did not change is not
/// encoded again; a picture that did not change at all costs nothing.
///
/// Belongs to one thread. Throws `MediaError` of kind codec.
class SegmentEncoder {
 public:
  /// `settings` are a file's. `repeated` is made of them too, and outlives this; the stretch has so many
  /// `pictures`.
  SegmentEncoder(const VideoInputSettings& settings, const RepeatedPicture& repeated, std::int64_t pictures);

  /// A planar picture of 8 bits and 4:2:0, of the settings' size. `time` and `duration` in ticks of
  /// `H264Encoder::timescale`.
  EncodedPacket encode(const PixelBuffer& picture, std::int64_t time, std::int64_t duration);

 private:
  bool findConstantBlocks(const PixelBuffer& picture);
  EncodedPacket encodeKey(std::int64_t time);
  EncodedPacket encodePredicted(std::int64_t time, bool isUnchanged);

  int width_;
  int height_;
  H264Encoder encoder_;
  const RepeatedPicture& repeated_;
  BitRateCap cap_;
  EncoderPicture picture_;
  std::uint64_t sequence_ = 0;  ///< Of the picture before; 0: unknown.
  std::int64_t index_ = 0;
  int coarsest_ = 0;  ///< No block has been encoded coarser.
};

}  // namespace quillant
