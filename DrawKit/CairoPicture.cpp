#include "DrawKit/CairoPicture.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillant::CairoPicture {

PixelBuffer blank(int width, int height) {
  const auto memory = std::make_shared<std::vector<std::uint32_t>>(std::size_t(width) * std::size_t(height));
  PixelBuffer picture{.format = PixelFormat::premultipliedBGRA, .width = width, .height = height};
  picture.planes[0] = {reinterpret_cast<std::uint8_t*>(memory->data()), width * 4};
  picture.memory = memory;
  return picture;
}

CairoHandle<cairo_surface_t> surface(const PixelBuffer& picture) {
  static_assert(std::endian::native == std::endian::little, "Cairo's words are B, G, R, A in memory");
  return CairoHandle<cairo_surface_t>(cairo_image_surface_create_for_data(
      picture.planes[0].data, CAIRO_FORMAT_ARGB32, picture.width, picture.height, picture.planes[0].stride));
}

}  // namespace quillant::CairoPicture
