#pragma once

#include <cstdint>

#include "CaptureEngine/ScreenService.h"
#include "Core/PixelBuffer.h"

/// What a display shows, for a tile.
namespace quillant::DisplayThumbnail {

/// BGRA. Blocking; throws `CaptureError` or `ScreenError`.
PixelBufferRef take(ScreenService& screen, std::uint32_t displayID);

}  // namespace quillant::DisplayThumbnail
