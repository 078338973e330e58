#include "packaging/wallpapers/Picture.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <png.h>
#include <stdexcept>
#include <system_error>

namespace quillant {

namespace {

/// sRGB's curve, from light to 0 to 255. The table is even in the square root of the light, where the curve
/// is nearly straight.
float encoded(float light) {
  static const auto table = [] {
    std::array<float, 2049> values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double root = static_cast<double>(i) / 2048;
      const double value = root * root;
      const double curve = value <= 0.0031308 ? 12.92 * value : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
      values[i] = static_cast<float>(255 * curve);
    }
    return values;
  }();
  const float place = std::sqrt(std::clamp(light, 0.0f, 1.0f)) * 2048;
  const auto step = std::min(static_cast<std::size_t>(place), table.size() - 2);
  return mix(table[step], table[step + 1], place - static_cast<float>(step));
}

/// An even 0 to 1 whose neighbours differ as much as they can: as dither it has no clumps that the eye finds.
float ditherAt(int x, int y) {
  const float inner = 0.06711056f * static_cast<float>(x) + 0.00583715f * static_cast<float>(y);
  const float outer = 52.9829189f * (inner - std::floor(inner));
  return outer - std::floor(outer);
}

std::uint8_t dithered(float light, int x, int y) {
  return static_cast<std::uint8_t>(std::min(encoded(light) + ditherAt(x, y), 255.0f));
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void fail(png_structp, png_const_charp message) {
  throw std::runtime_error(message);
}

}  // namespace

Picture Picture::painted(Painter painter) {
  Picture picture{pictureWidth, pictureHeight, {}};
  picture.pixels.reserve(static_cast<std::size_t>(pictureWidth) * pictureHeight);
  for (int y = 0; y < pictureHeight; ++y)
    for (int x = 0; x < pictureWidth; ++x)
      picture.pixels.push_back(
          painter({(static_cast<float>(x) + 0.5f) * pixel, (static_cast<float>(y) + 0.5f) * pixel}));
  return picture;
}

Picture Picture::reduced(int factor) const {
  Picture result{width / factor, height / factor, {}};
  result.pixels.reserve(static_cast<std::size_t>(result.width) * result.height);
  for (int top = 0; top < result.height * factor; top += factor)
    for (int left = 0; left < result.width * factor; left += factor) {
      Color sum;
      for (int y = top; y < top + factor; ++y)
        for (int x = left; x < left + factor; ++x)
          sum = sum + pixels[static_cast<std::size_t>(y) * width + x];
      result.pixels.push_back(sum * (1.0f / static_cast<float>(factor * factor)));
    }
  return result;
}

void Picture::writePNG(const std::string& path) const {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wb"));
  if (!file) throw std::system_error(errno, std::generic_category(), path);
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, file.get());
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_sRGB_gAMA_and_cHRM(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
  // Dither leaves little to find: more effort costs seconds and gains a few per cent.
  png_set_compression_level(png, 3);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_UP);
  png_write_info(png, info);
  std::vector<png_byte> row(static_cast<std::size_t>(width) * 3);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Color& color = pixels[static_cast<std::size_t>(y) * width + x];
      // Each component has a pattern of its own: one for all three would dither lightness three times over.
      png_byte* bytes = &row[static_cast<std::size_t>(x) * 3];
      bytes[0] = dithered(color.r, x, y);
      bytes[1] = dithered(color.g, x + 67, y + 29);
      bytes[2] = dithered(color.b, x + 131, y + 83);
    }
    png_write_row(png, row.data());
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  if (std::fflush(file.get()) != 0) throw std::system_error(errno, std::generic_category(), path);
}

}  // namespace quillant
