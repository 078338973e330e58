#pragma once

#include <optional>

#include "Core/Geometry.h"
#include "DrawKit/Image.h"
#include "Editor/Composition/VideoBackgroundStyling.h"
#include "Editor/Composition/WallpaperImageCache.h"

/// What lies under everything.
namespace quillant::BackdropLayer {

/// The backdrop of a canvas, blurred as the styling says; none where it is transparent. A gradient is drawn
/// and a wallpaper read here: to be made once and kept, not once a frame. A wallpaper without a picture is
/// black.
std::optional<Image> image(const VideoBackgroundStyling& styling, const Size& canvas,
                           WallpaperImageCache& wallpapers);

}  // namespace quillant::BackdropLayer
