#include "MediaKit/EncoderPicture.h"

#include <algorithm>
#include <cstring>

#include "MediaKit/ColorConversion.h"

namespace quillant {

namespace {

constexpr int blockSize = 16;

int roundUp(int value, int step) {
  return (value + step - 1) / step * step;
}

void copyPlane(PixelBuffer::Plane from, PixelBuffer::Plane to, PixelRect area) {
  for (int y = area.y; y < area.y + area.height; ++y)
    std::memcpy(to.data + static_cast<std::ptrdiff_t>(to.stride) * y + area.x,
                from.data + static_cast<std::ptrdiff_t>(from.stride) * y + area.x,
                static_cast<std::size_t>(area.width));
}

}  // namespace

EncoderPicture::EncoderPicture(int width, int height)
    : width_(width), height_(height), blockColumns_(roundUp(width, blockSize) / blockSize) {
  const int stride = roundUp(width, 64);
  const auto lumaSize = static_cast<std::size_t>(stride) * height;
  memory_.resize(lumaSize + lumaSize / 2);
  planes_[0] = {memory_.data(), stride};
  planes_[1] = {memory_.data() + lumaSize, stride / 2};
  planes_[2] = {memory_.data() + lumaSize + lumaSize / 4, stride / 2};
  constant_.resize(static_cast<std::size_t>(blockColumns_) * (roundUp(height, blockSize) / blockSize));
}

std::uint64_t EncoderPicture::take(const PixelBuffer& buffer) {
  const bool told = buffer.sequence != 0 && sequence_ != 0;
  const bool repeated = told && buffer.sequence == sequence_;
  const bool follows = told && buffer.sequence == sequence_ + 1;
  sequence_ = buffer.sequence;
  changed_ = !repeated && !(follows && buffer.changed.empty());
  if (!repeated && !follows) {
    std::ranges::fill(constant_, std::uint8_t{0});
    takeRect(buffer, {0, 0, width_, height_});
    return static_cast<std::uint64_t>(width_) * height_;
  }
  std::ranges::fill(constant_, std::uint8_t{1});
  std::uint64_t pixels = 0;
  for (const auto& rect : repeated ? std::vector<PixelRect>{} : buffer.changed) {
    const auto area = ColorConversion::affectedArea(rect, width_, height_);
    if (area.width == 0 || area.height == 0) continue;
    takeRect(buffer, area);
    pixels += static_cast<std::uint64_t>(area.width) * area.height;
    const int lastColumn = (area.x + area.width - 1) / blockSize;
    for (int row = area.y / blockSize; row <= (area.y + area.height - 1) / blockSize; ++row) {
      const auto begin = constant_.begin() + static_cast<std::ptrdiff_t>(row) * blockColumns_;
      std::fill(begin + area.x / blockSize, begin + lastColumn + 1, std::uint8_t{0});
    }
  }
  return pixels;
}

void EncoderPicture::takeRect(const PixelBuffer& buffer, PixelRect area) {
  if (buffer.format == PixelFormat::bgra) {
    ColorConversion::bgraToI420(buffer.planes[0], planes_, area);
    return;
  }
  copyPlane(buffer.planes[0], planes_[0], area);
  for (const std::size_t chroma : {1U, 2U})
    copyPlane(buffer.planes[chroma], planes_[chroma],
              {area.x / 2, area.y / 2, area.width / 2, area.height / 2});
}

}  // namespace quillant
