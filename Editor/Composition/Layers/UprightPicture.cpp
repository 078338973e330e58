#include "Editor/Composition/Layers/UprightPicture.h"

namespace quillant {

Image uprightPicture(const PixelBufferRef& picture, const AffineTransform& preferredTransform,
                     const Size& size) {
  const auto image = Image::picture(picture);
  if (size.width == 0 && size.height == 0) {
    const Rect bounds = preferredTransform.bounds(image.bounds());
    return image.transformed(preferredTransform.then(AffineTransform::translation(-bounds.x, -bounds.y)));
  }
  const Rect stored = preferredTransform.inverse().bounds({0, 0, size.width, size.height});
  return image.transformed(
      AffineTransform::scale(stored.width / picture->width, stored.height / picture->height)
          .then(preferredTransform));
}

}  // namespace quillant
