#include "DrawKit/PNGImage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <png.h>
#include <vector>

#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"

namespace quillant::PNGImage {

PixelBufferRef read(const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  const std::unique_ptr<png_image, void (*)(png_image*)> release(&image, &png_image_free);
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0)
    throw DrawingError(DrawingError::Kind::unreadable);
  if (image.width > Canvas::longestSide || image.height > Canvas::longestSide)
    throw DrawingError(DrawingError::Kind::size);
  image.format = PNG_FORMAT_BGRA;
  auto picture = std::make_shared<PixelBuffer>();
  picture->format = PixelFormat::bgra;
  picture->width = static_cast<int>(image.width);
  picture->height = static_cast<int>(image.height);
  auto pixels = std::make_shared<std::vector<std::uint8_t>>(PNG_IMAGE_SIZE(image));
  picture->planes[0] = {pixels->data(), picture->width * 4};
  if (png_image_finish_read(&image, nullptr, pixels->data(), picture->planes[0].stride, nullptr) == 0)
    throw DrawingError(DrawingError::Kind::unreadable);
  for (std::size_t i = 0; i < pixels->size(); i += 4) {
    const unsigned alpha = (*pixels)[i + 3];
    if (alpha == 255) continue;
    for (std::size_t channel = i; channel < i + 3; ++channel)
      (*pixels)[channel] = static_cast<std::uint8_t>(((*pixels)[channel] * alpha + 127) / 255);
  }
  picture->memory = std::move(pixels);
  return picture;
}

void write(const PixelBuffer& picture, const std::filesystem::path& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_BGR;
  std::vector<png_byte> bytes;
  bytes.reserve(PNG_IMAGE_SIZE(image));
  for (int y = 0; y < picture.height; ++y) {
    const std::uint8_t* row = picture.planes[0].data + std::ptrdiff_t{y} * picture.planes[0].stride;
    for (int x = 0; x < picture.width; ++x) bytes.insert(bytes.end(), row + 4 * x, row + 4 * x + 3);
  }
  if (png_image_write_to_file(&image, path.c_str(), 0, bytes.data(), 0, nullptr) == 0)
    throw DrawingError(DrawingError::Kind::unwritable);
}

}  // namespace quillant::PNGImage
