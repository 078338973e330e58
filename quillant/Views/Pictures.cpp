#include "quillant/Views/Pictures.h"

#include <cassert>

namespace quillant::Pictures {

QImage image(const PixelBufferRef& picture) {
  if (!picture) return {};
  assert(picture->format == PixelFormat::bgra);
  const auto& plane = picture->planes[0];
  const auto release = [](void* kept) { delete static_cast<PixelBufferRef*>(kept); };
  return {static_cast<const uchar*>(plane.data),
          picture->width,
          picture->height,
          plane.stride,
          QImage::Format_RGB32,
          release,
          new PixelBufferRef(picture)};
}

}  // namespace quillant::Pictures
