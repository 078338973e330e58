#pragma once

#include "CaptureEngine/ScreenService.h"
#include "Core/PixelBuffer.h"

/// What the picture of a recording is compared with. All pictures are BGRA.
namespace quillant::ReferencePicture {

/// What a display shows, at the given size. Blocking; throws `CaptureError` or `ScreenError`.
PixelBufferRef grab(ScreenService& screen, std::uint32_t displayID, const RecordedSource& size);

/// A part of `picture`, which shares its memory.
PixelBufferRef crop(const PixelBufferRef& picture, const PixelRect& part);

/// Over the red, green and blue of two pictures of one size: 0 for the same, 65025 at most.
double meanSquaredError(const PixelBuffer& first, const PixelBuffer& second);

}  // namespace quillant::ReferencePicture
