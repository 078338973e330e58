#pragma once

// Internal to this library's sources.

#include <cstdint>
#include <span>

#include "MediaKit/FFmpegHandles.h"
#include "MediaKit/Writing/MediaSettings.h"

namespace quillant {

/// How containers and their tracks are described to FFmpeg's muxers.
namespace Muxing {

/// FFmpeg's name of the container.
const char* formatName(MediaContainer container);

/// A new track whose time base is 1 / `timescale`. `configuration` is what its encoder gives.
AVStream& addTrack(AVFormatContext& context, AVMediaType type, AVCodecID codec, int timescale,
                   std::span<const std::uint8_t> configuration);
/// A new track of what an `H264Encoder` with these settings makes.
AVStream& addPictureTrack(AVFormatContext& context, const VideoInputSettings& settings,
                          std::span<const std::uint8_t> configuration);

}  // namespace Muxing
}  // namespace quillant
