#include "Tests/Support/Drawing/TestPictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

#include "Core/PixelRects.h"

namespace quillant::TestPictures {

namespace {

/// From 0 to 1.
double pattern(double x, double y, int seed) {
  const double waves = std::sin(x * 21 + seed) * std::cos(y * 17 - seed) * 0.2;
  const bool inside = std::hypot(x - 0.4, y - 0.6) < 0.25 || (x > 0.8 && y < 0.3);
  return std::clamp(0.35 + 0.2 * x - 0.1 * y + waves + (inside ? 0.35 : 0), 0.0, 1.0);
}

}  // namespace

PixelBufferRef patterned(PixelFormat format, int width, int height, const ColorEncoding& color, int seed,
                         const PixelRect& part) {
  const bool planar = format != PixelFormat::bgra && format != PixelFormat::premultipliedBGRA;
  const bool words = format >= PixelFormat::i420x10;
  const bool halfHeight = format == PixelFormat::i420 || format == PixelFormat::i420x10;
  const bool halfWidth = halfHeight || format == PixelFormat::i422 || format == PixelFormat::i422x10;
  auto picture = std::make_shared<PixelBuffer>();
  picture->format = format, picture->color = color;
  picture->width = width, picture->height = height;
  std::array<std::array<int, 2>, 3> sizes{{{width, height}, {}, {}}};
  if (planar)
    sizes[1] = sizes[2] = {halfWidth ? (width + 1) / 2 : width, halfHeight ? (height + 1) / 2 : height};
  const int bytes = planar ? (words ? 2 : 1) : 4;
  constexpr int gap = 5;  // between rows
  const auto memory = std::make_shared<std::array<std::vector<std::uint8_t>, 3>>();
  picture->memory = memory;
  for (std::size_t plane = 0; plane < 3; ++plane) {
    const auto [columns, rows] = sizes[plane];
    const int stride = (columns + gap) * bytes;
    auto& data = (*memory)[plane];
    data.resize(static_cast<std::size_t>(stride * rows));
    picture->planes[plane] = {data.data(), stride};
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x) {
        std::uint8_t* const sample = data.data() + y * stride + x * bytes;
        const double u = (x + 0.5) / columns, v = (y + 0.5) / rows;
        const PixelRect own{x * width / columns, y * height / rows, 1, 1};
        const int look = PixelRects::contains(part, own) ? seed + 50 : seed;
        const auto value = [&](int channel) { return pattern(u, v, look + channel); };
        if (!planar) {
          const bool transparent =
              format == PixelFormat::premultipliedBGRA && std::hypot(u - 0.5, v - 0.5) < 0.3;
          const double alpha = transparent ? std::hypot(u - 0.5, v - 0.5) / 0.3 : 1;
          for (int channel = 0; channel < 3; ++channel)
            sample[channel] = static_cast<std::uint8_t>(std::lround(255 * alpha * value(channel)));
          sample[3] = static_cast<std::uint8_t>(std::lround(255 * alpha));
          continue;
        }
        const double code = (30 + 190 * value(static_cast<int>(plane))) * (words ? 4 : 1);
        const auto whole = static_cast<std::uint16_t>(std::lround(code));
        std::memcpy(sample, &whole, static_cast<std::size_t>(bytes));
      }
  }
  return picture;
}

}  // namespace quillant::TestPictures
