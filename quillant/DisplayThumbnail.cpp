#include "quillant/DisplayThumbnail.h"

#include <algorithm>

#include "CaptureEngine/CaptureError.h"
#include "quillant/Commands/ReferencePicture.h"

namespace quillant::DisplayThumbnail {

namespace {

/// Twice what a tile has at scale 1.
constexpr int width = 296;

}  // namespace

PixelBufferRef take(ScreenService& screen, std::uint32_t displayID) {
  const auto content = screen.content();
  const auto display = std::ranges::find(content.displays, displayID, &DisplayInfo::id);
  if (display == content.displays.end())
    throw CaptureError(CaptureError::DisplayNotFound{.requested = displayID, .available = {}});
  const int height = std::max(width * display->pixelHeight / std::max(display->pixelWidth, 1) / 2 * 2, 2);
  return ReferencePicture::grab(screen, displayID, {.width = width, .height = height});
}

}  // namespace quillant::DisplayThumbnail
