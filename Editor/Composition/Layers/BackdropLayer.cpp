#include "Editor/Composition/Layers/BackdropLayer.h"

#include <algorithm>
#include <variant>

#include "DrawKit/DrawingError.h"
#include "Editor/Composition/GradientPicture.h"

namespace quillant::BackdropLayer {

namespace {

struct Backdrop {
  Rect extent;
  WallpaperImageCache& wallpapers;

  Image black() const { return Image::flat({0, 0, 0, 1}, extent); }

  std::optional<Image> operator()(const SerializableColor& color) const { return Image::flat(color, extent); }

  std::optional<Image> operator()(const GradientPreset& gradient) const {
    try {
      return Image::picture(
          GradientPicture::draw(gradient, static_cast<int>(extent.width), static_cast<int>(extent.height)));
    } catch (const DrawingError&) {
      return black();
    }
  }

  /// As large as it must be to fill the canvas, its middle in the middle.
  std::optional<Image> operator()(const WallpaperPreset& wallpaper) const {
    const auto picture = wallpapers.image(wallpaper.fullAssetName);
    if (!picture) return black();
    const double scale = std::max(extent.width / picture->width, extent.height / picture->height);
    return Image::picture(picture)
        .transformed(AffineTransform::scale(scale, scale)
                         .then(AffineTransform::translation((extent.width - picture->width * scale) / 2,
                                                            (extent.height - picture->height * scale) / 2)))
        .cropped(extent);
  }

  std::optional<Image> operator()(const TransparentBackground&) const { return std::nullopt; }
};

}  // namespace

std::optional<Image> image(const VideoBackgroundStyling& styling, const Size& canvas,
                           WallpaperImageCache& wallpapers) {
  const auto backdrop =
      std::visit(Backdrop{{0, 0, canvas.width, canvas.height}, wallpapers}, styling.background);
  if (!backdrop) return std::nullopt;
  const double sigma = std::min(canvas.width, canvas.height) * styling.backgroundBlurRatio;
  return backdrop->blurred(sigma, Image::BlurEdges::extended);
}

}  // namespace quillant::BackdropLayer
