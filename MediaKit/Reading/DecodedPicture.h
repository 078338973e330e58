#pragma once

// Internal to MediaKit's sources.

#include "Core/PixelBuffer.h"
#include "MediaKit/FFmpegHandles.h"

namespace quillant::DecodedPicture {

/// The frame as a picture of ours, which shares its memory where the format is one of ours and is converted
/// otherwise. Throws `MediaError` of kind codec for colours that are not known here.
std::shared_ptr<PixelBuffer> make(const AVFrame& frame);

/// The picture's format as FFmpeg knows it.
AVPixelFormat formatOf(const PixelBuffer& picture);

/// Where two pictures of one format and size differ, as rectangles.
std::vector<PixelRect> differences(const PixelBuffer& before, const PixelBuffer& after);

}  // namespace quillant::DecodedPicture
