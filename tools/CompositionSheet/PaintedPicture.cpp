#include "tools/CompositionSheet/PaintedPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <vector>

namespace quillant::PaintedPicture {

namespace {

struct Weights {
  double red;
  double blue;
};

Weights weights(ColorEncoding::Matrix matrix) {
  return matrix == ColorEncoding::Matrix::bt601 ? Weights{0.299, 0.114} : Weights{0.2126, 0.0722};
}

struct Layout {
  bool halfWidth = false;
  bool halfHeight = false;
  int bits = 8;
};

Layout layout(PixelFormat format) {
  switch (format) {
    case PixelFormat::i420:
      return {true, true, 8};
    case PixelFormat::i422:
      return {true, false, 8};
    case PixelFormat::i420x10:
      return {true, true, 10};
    case PixelFormat::i422x10:
      return {true, false, 10};
    case PixelFormat::i444x10:
      return {false, false, 10};
    default:
      return {};
  }
}

/// One component in the codes of an encoding.
double code(const SerializableColor& color, int plane, const ColorEncoding& encoding, int bits) {
  const auto [kr, kb] = weights(encoding.matrix);
  const double luma = kr * color.red + (1 - kr - kb) * color.green + kb * color.blue;
  const double scale = 1 << (bits - 8), most = (1 << bits) - 1;
  const bool full = encoding.range == ColorEncoding::Range::full;
  if (plane == 0) return full ? luma * most : (16 + 219 * luma) * scale;
  const double difference =
      plane == 1 ? (color.blue - luma) / (2 - 2 * kb) : (color.red - luma) / (2 - 2 * kr);
  return 128 * scale + difference * (full ? most : 224 * scale);
}

std::uint8_t byte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

}  // namespace

PixelBufferRef paint(int width, int height, PixelFormat format, const ColorEncoding& encoding,
                     const Painter& painter) {
  auto picture = std::make_shared<PixelBuffer>();
  picture->format = format;
  picture->color = encoding;
  picture->width = width;
  picture->height = height;
  if (format == PixelFormat::bgra) {
    auto pixels = std::make_shared<std::vector<std::uint8_t>>();
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        const auto color = painter(x + 0.5, y + 0.5);
        pixels->insert(pixels->end(), {byte(color.blue), byte(color.green), byte(color.red), 255});
      }
    picture->planes[0] = {pixels->data(), width * 4};
    picture->memory = std::move(pixels);
    return picture;
  }

  const auto [halfWidth, halfHeight, bits] = layout(format);
  auto planes = std::make_shared<std::array<std::vector<std::uint16_t>, 3>>();
  auto bytes = std::make_shared<std::array<std::vector<std::uint8_t>, 3>>();
  for (int plane = 0; plane < 3; ++plane) {
    const bool half = plane > 0 && halfWidth, low = plane > 0 && halfHeight;
    const int columns = half ? (width + 1) / 2 : width, rows = low ? (height + 1) / 2 : height;
    for (int y = 0; y < rows; ++y)
      for (int x = 0; x < columns; ++x) {
        // A chroma sample of half size stands for what is around the place where it lies.
        using Site = ColorEncoding::ChromaSite;
        const double placeX = !half ? x + 0.5 : encoding.chromaSite == Site::center ? 2 * x + 1 : 2 * x + 0.5;
        const double placeY = !low ? y + 0.5 : encoding.chromaSite == Site::topLeft ? 2 * y + 0.5 : 2 * y + 1;
        double sum = 0;
        for (const double dx : {-0.5, 0.0, 0.5})
          for (const double dy : {-0.5, 0.0, 0.5})
            sum += code(painter(std::clamp(placeX + (half ? dx : 0), 0.5, width - 0.5),
                                std::clamp(placeY + (low ? dy : 0), 0.5, height - 0.5)),
                        plane, encoding, bits);
        const long value = std::lround(std::clamp(sum / 9, 0.0, (1 << bits) - 1.0));
        if (bits == 8)
          (*bytes)[plane].push_back(static_cast<std::uint8_t>(value));
        else
          (*planes)[plane].push_back(static_cast<std::uint16_t>(value));
      }
    picture->planes[plane] =
        bits == 8 ? PixelBuffer::Plane{(*bytes)[plane].data(), columns}
                  : PixelBuffer::Plane{reinterpret_cast<std::uint8_t*>((*planes)[plane].data()), columns * 2};
  }
  picture->memory = bits == 8 ? std::shared_ptr<void>(bytes) : std::shared_ptr<void>(planes);
  return picture;
}

Painter desktop(int width, int height) {
  return [w = static_cast<double>(width), h = static_cast<double>(height)](double x, double y) {
    const double u = x / w, v = y / h;
    const auto inside = [&](double left, double top, double right, double bottom) {
      return u >= left && u < right && v >= top && v < bottom;
    };
    // A square in each corner: red, green, blue and yellow in reading order.
    const double corner = 0.06 * std::min(w, h);
    if ((x < corner || x > w - corner) && (y < corner || y > h - corner)) {
      const bool right = x > w / 2, low = y > h / 2;
      if (!low) return right ? SerializableColor{0.1, 0.8, 0.2} : SerializableColor{0.9, 0.1, 0.1};
      return right ? SerializableColor{0.95, 0.85, 0.1} : SerializableColor{0.1, 0.2, 0.9};
    }
    if (v > 0.94) return SerializableColor{0.12, 0.13, 0.16};
    if (inside(0.1, 0.12, 0.62, 0.8)) {
      if (v < 0.18) return SerializableColor{0.75, 0.77, 0.8};
      // Lines as of text.
      const bool line = std::fmod(y - 0.2 * h, 8) < 4 && std::fmod(x * 7 + std::floor(y / 8) * 31, 11) < 8;
      return line && u > 0.13 && u < 0.58 && v > 0.22 ? SerializableColor{0.15, 0.15, 0.2}
                                                      : SerializableColor{0.97, 0.97, 0.98};
    }
    if (inside(0.52, 0.4, 0.92, 0.88)) {
      const double hue = (u - 0.52) / 0.4 * 2 * std::numbers::pi;
      return SerializableColor{0.5 + 0.45 * std::cos(hue), 0.5 + 0.45 * std::cos(hue - 2.1),
                               0.5 + 0.45 * std::cos(hue + 2.1)};
    }
    return SerializableColor{0.2 + 0.2 * u, 0.35 + 0.2 * v, 0.5 + 0.2 * u * v};
  };
}

Painter person(int width, int height) {
  return [w = static_cast<double>(width), h = static_cast<double>(height)](double x, double y) {
    const double u = (x - w / 2) / h, v = y / h - 0.5;
    if (x < w / 8 && y < h / 8) return SerializableColor{0.9, 0.1, 0.1};
    if (std::hypot(u - 0.08, v + 0.06) < 0.025 || std::hypot(u + 0.08, v + 0.06) < 0.025)
      return SerializableColor{0.15, 0.1, 0.1};
    if (std::hypot(u / 0.8, v) < 0.26) return SerializableColor{0.87, 0.68, 0.56};
    if (v > 0.2 && std::hypot(u / 1.2, v - 0.6) < 0.4) return SerializableColor{0.25, 0.35, 0.6};
    return SerializableColor{0.55 + 0.2 * u, 0.6, 0.55 - 0.2 * v};
  };
}

PixelBufferRef toBGRA(const PixelBuffer& frame) {
  return paint(frame.width, frame.height, PixelFormat::bgra, {}, [&](double x, double y) {
    const auto at = [&](int plane, int column, int row) {
      return frame.planes[plane].data[std::ptrdiff_t{row} * frame.planes[plane].stride + column];
    };
    const int column = static_cast<int>(x), row = static_cast<int>(y);
    const double luma = (at(0, column, row) - 16) / 219.0;
    const double u = (at(1, column / 2, row / 2) - 128) / 224.0,
                 v = (at(2, column / 2, row / 2) - 128) / 224.0;
    const double red = luma + 1.5748 * v, blue = luma + 1.8556 * u;
    return SerializableColor{red, (luma - 0.2126 * red - 0.0722 * blue) / 0.7152, blue};
  });
}

}  // namespace quillant::PaintedPicture
