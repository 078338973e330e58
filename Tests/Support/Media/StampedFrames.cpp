#include "Tests/Support/Media/StampedFrames.h"

#include <random>

#include "MediaKit/Pictures/BGRAPicture.h"

namespace quillant::StampedFrames {

namespace {

constexpr int bits = 16;
constexpr int blockSize = 8;

template <class Color>
void paint(PixelBuffer& buffer, PixelRect area, Color&& color) {
  for (int y = area.y; y < area.y + area.height; ++y)
    for (int x = area.x; x < area.x + area.width; ++x) {
      auto* pixel = buffer.planes[0].data + static_cast<std::ptrdiff_t>(y) * buffer.planes[0].stride + 4 * x;
      const std::uint32_t value = color(x, y);
      for (int i = 0; i < 4; ++i) pixel[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

void stamp(PixelBuffer& buffer, std::uint32_t index) {
  paint(buffer, {0, 0, bits * blockSize, blockSize},
        [&](int x, int) { return (index >> (x / blockSize)) & 1 ? 0xFFFFFFFFU : 0xFF000000U; });
}

void paintNoise(PixelBuffer& buffer, PixelRect area, std::uint32_t seed) {
  std::minstd_rand random(seed + 1);
  paint(buffer, area, [&](int, int) { return 0xFF000000U | static_cast<std::uint32_t>(random()); });
}

}  // namespace

PixelBufferRef moving(int width, int height, std::uint32_t index) {
  auto buffer = BGRAPicture::make(width, height);
  const int shift = static_cast<int>(index * 3 % 100'000);
  paint(*buffer, {0, 0, width, height}, [&](int x, int y) {
    const int a = ((x + shift) / 24 + y / 24) % 2 ? 200 : 60;
    return 0xFF000000U | static_cast<std::uint32_t>(a << 16 | ((x + y + shift) & 0xFF) << 8 | (y & 0xFF));
  });
  stamp(*buffer, index);
  return buffer;
}

PixelBufferRef mostlyStill(int width, int height, std::uint32_t index, int region) {
  auto buffer = BGRAPicture::make(width, height);
  paint(*buffer, {0, 0, width, height}, [](int x, int y) {
    return 0xFF000000U | static_cast<std::uint32_t>((x & 0xFF) << 16 | ((x ^ y) & 0xFF) << 8 | (y & 0xFF));
  });
  const auto blockOf = [&](std::uint32_t of) {
    const auto shift = static_cast<int>(of % 10'000);
    return PixelRect{shift * 48 % (width - region), blockSize + shift * 24 % (height - blockSize - region),
                     region, region};
  };
  const auto block = blockOf(index);
  paintNoise(*buffer, block, index);
  stamp(*buffer, index);
  buffer->sequence = index + 1;
  buffer->changed = {{0, 0, bits * blockSize, blockSize}, block};
  if (index > 0) buffer->changed.push_back(blockOf(index - 1));
  return buffer;
}

PixelBufferRef noise(int width, int height, std::uint32_t index) {
  auto buffer = BGRAPicture::make(width, height);
  paintNoise(*buffer, {0, 0, width, height}, index);
  stamp(*buffer, index);
  return buffer;
}

std::uint32_t read(const std::uint8_t* luma, int stride, int block) {
  std::uint32_t index = 0;
  for (int bit = 0; bit < bits; ++bit)
    if (luma[stride * (block / 2) + bit * block + block / 2] > 127) index |= 1U << bit;
  return index;
}

}  // namespace quillant::StampedFrames
