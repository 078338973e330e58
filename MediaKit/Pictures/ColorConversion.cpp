#include "MediaKit/Pictures/ColorConversion.h"

#include <algorithm>
#include <cstddef>

// Highway compiles this file once for every instruction set and picks one at run time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "MediaKit/Pictures/ColorConversion.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace quillant::HWY_NAMESPACE {
namespace {

constexpr double limitedLuma = 219.0 / 255.0;
constexpr double limitedChroma = 224.0 / 255.0;

/// Weights as 16-bit fractions. A sample is scaled to just below 2^15 first, so that the high half of its
/// product with a weight keeps seven bits behind the point.
constexpr int fraction(double weight) {
  return static_cast<int>(weight * 65536 + (weight < 0 ? -0.5 : 0.5));
}
constexpr int fractionBits = 7;
constexpr int half = 1 << (fractionBits - 1);

struct Weights {
  int blue;
  int green;
  int red;
  int offset;  ///< Added before the seven bits are cut off; holds the rounding.
};
constexpr Weights luma{fraction(0.0722 * limitedLuma), fraction(0.7152 * limitedLuma),
                       fraction(0.2126 * limitedLuma), (16 << fractionBits) + half + 1};
constexpr Weights chromaU{fraction(0.5 * limitedChroma), fraction(-0.7152 / 1.8556 * limitedChroma),
                          fraction(-0.2126 / 1.8556 * limitedChroma), (128 << fractionBits) + half + 1};
constexpr Weights chromaV{fraction(-0.0722 / 1.5748 * limitedChroma),
                          fraction(-0.7152 / 1.5748 * limitedChroma), fraction(0.5 * limitedChroma),
                          (128 << fractionBits) + half + 1};

/// The same arithmetic for one sample, for the edges that fill no vector.
constexpr std::uint8_t weigh(const Weights& weights, int blue, int green, int red) {
  const int sum = ((blue * weights.blue) >> 16) + ((green * weights.green) >> 16) +
                  ((red * weights.red) >> 16) + weights.offset;
  return static_cast<std::uint8_t>(sum >> fractionBits);
}

void lumaScalar(const std::uint8_t* source, std::uint8_t* target, int begin, int end) {
  for (int x = begin; x < end; ++x) {
    const auto* pixel = source + 4 * x;
    target[x] = weigh(luma, pixel[0] << 7, pixel[1] << 7, pixel[2] << 7);
  }
}

struct ChromaRows {
  const std::uint8_t* upper;
  const std::uint8_t* lower;
  std::uint8_t* u;
  std::uint8_t* v;
};

/// The chroma samples of columns `begin` to `end`: each weighs its pixel twice and both neighbours once.
void chromaScalar(const ChromaRows& rows, int begin, int end) {
  for (int column = begin; column < end; ++column) {
    const int middle = 8 * column;  // bytes
    const int left = column == 0 ? middle : middle - 4;
    const auto sum = [&](int channel) {
      const auto of = [&](const std::uint8_t* row) {
        return row[left + channel] + 2 * row[middle + channel] + row[middle + 4 + channel];
      };
      return (of(rows.upper) + of(rows.lower)) << 4;
    };
    rows.u[column] = weigh(chromaU, sum(0), sum(1), sum(2));
    rows.v[column] = weigh(chromaV, sum(0), sum(1), sum(2));
  }
}

#if HWY_TARGET == HWY_SCALAR

void lumaRow(const std::uint8_t* source, std::uint8_t* target, int begin, int end) {
  lumaScalar(source, target, begin, end);
}
void chromaRow(const ChromaRows& rows, int begin, int end) {
  chromaScalar(rows, begin, end);
}

#else

namespace hn = hwy::HWY_NAMESPACE;

using Tag32 = hn::ScalableTag<std::uint32_t>;
using Tag16 = hn::Repartition<std::uint16_t, Tag32>;
using TagS16 = hn::Repartition<std::int16_t, Tag32>;
using Vector32 = hn::Vec<Tag32>;

/// Blue and red of every pixel in the two halves of its 32 bits, and green in the lower half.
struct Channels {
  Vector32 blueRed;
  Vector32 green;
};

HWY_INLINE Channels channels(Tag32 d, Vector32 pixels) {
  return {hn::And(pixels, hn::Set(d, 0x00FF00FFU)),
          hn::And(hn::ShiftRight<8>(pixels), hn::Set(d, 0x000000FFU))};
}

HWY_INLINE Channels operator+(Channels left, Channels right) {
  // The halves do not overflow into each other: eight samples of eight bits.
  return {hn::Add(left.blueRed, right.blueRed), hn::Add(left.green, right.green)};
}

HWY_INLINE Channels doubled(Channels value) {
  return {hn::Add(value.blueRed, value.blueRed), hn::Add(value.green, value.green)};
}

constexpr std::uint32_t halves(int low, int high) {
  return (static_cast<std::uint32_t>(high) << 16) | (static_cast<std::uint32_t>(low) & 0xFFFFU);
}

/// One byte a lane, in the lane's low bits. `scale` brings a sample below 2^15.
template <class Tag, int scale>
HWY_INLINE Vector32 weighted(Tag32 d, Tag d16, Channels value, const Weights& weights) {
  const auto part = [&](Vector32 samples, std::uint32_t pair) {
    return hn::MulHigh(hn::BitCast(d16, hn::ShiftLeft<scale>(samples)), hn::BitCast(d16, hn::Set(d, pair)));
  };
  const auto sum = hn::BitCast(d, hn::Add(part(value.blueRed, halves(weights.blue, weights.red)),
                                          part(value.green, halves(weights.green, 0))));
  // Only the low 16 bits count, so a carry out of the low half does no harm.
  const auto total =
      hn::Add(hn::Add(sum, hn::ShiftRight<16>(sum)), hn::Set(d, std::uint32_t(weights.offset)));
  return hn::And(hn::ShiftRight<fractionBits>(total), hn::Set(d, 0xFFU));
}

HWY_INLINE Vector32 load(Tag32 d, const std::uint8_t* row, int x) {
  return hn::LoadU(d, reinterpret_cast<const std::uint32_t*>(row) + x);
}

void lumaRow(const std::uint8_t* source, std::uint8_t* target, int begin, int end) {
  const Tag32 d;
  const hn::Rebind<std::uint8_t, Tag32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  int x = begin;
  for (; x + lanes <= end; x += lanes) {
    const auto result = weighted<Tag16, 7>(d, Tag16(), channels(d, load(d, source, x)), luma);
    hn::StoreU(hn::U8FromU32(result), d8, target + x);
  }
  lumaScalar(source, target, x, end);
}

void chromaRow(const ChromaRows& rows, int begin, int end) {
  const Tag32 d;
  const hn::Rebind<std::uint8_t, Tag32> d8;
  const int lanes = static_cast<int>(hn::Lanes(d));
  // The first column has no left neighbour.
  int column = std::max(begin, 1);
  chromaScalar(rows, begin, std::min(column, end));
  for (; column + lanes <= end; column += lanes) {
    const auto pairs = [&](const std::uint8_t* row) {
      const auto low = load(d, row, 2 * column);
      const auto high = load(d, row, 2 * column + lanes);
      const auto lowBefore = load(d, row, 2 * column - 2);
      const auto highBefore = load(d, row, 2 * column - 2 + lanes);
      return channels(d, hn::ConcatOdd(d, highBefore, lowBefore)) +
             doubled(channels(d, hn::ConcatEven(d, high, low))) + channels(d, hn::ConcatOdd(d, high, low));
    };
    const auto sum = pairs(rows.upper) + pairs(rows.lower);
    hn::StoreU(hn::U8FromU32(weighted<TagS16, 4>(d, TagS16(), sum, chromaU)), d8, rows.u + column);
    hn::StoreU(hn::U8FromU32(weighted<TagS16, 4>(d, TagS16(), sum, chromaV)), d8, rows.v + column);
  }
  chromaScalar(rows, column, end);
}

#endif

void convert(PixelBuffer::Plane source, const std::array<PixelBuffer::Plane, 3>& target, PixelRect area) {
  const auto row = [](PixelBuffer::Plane plane, int y) {
    return plane.data + static_cast<std::ptrdiff_t>(plane.stride) * y;
  };
  const int right = area.x + area.width;
  for (int y = area.y; y < area.y + area.height; y += 2) {
    lumaRow(row(source, y), row(target[0], y), area.x, right);
    lumaRow(row(source, y + 1), row(target[0], y + 1), area.x, right);
    chromaRow({row(source, y), row(source, y + 1), row(target[1], y / 2), row(target[2], y / 2)}, area.x / 2,
              right / 2);
  }
}

}  // namespace
}  // namespace quillant::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace quillant::ColorConversion {

HWY_EXPORT(convert);

PixelRect affectedArea(PixelRect rect, int width, int height) {
  const auto down = [](int value) { return value & ~1; };
  const int left = down(std::clamp(rect.x, 0, width));
  const int top = down(std::clamp(rect.y, 0, height));
  // An odd column also weighs into the chroma sample at its right.
  const int right = std::clamp(down(rect.x + rect.width) + 2, left, width);
  const int bottom = std::clamp(down(rect.y + rect.height + 1), top, height);
  return {left, top, right - left, bottom - top};
}

void bgraToI420(PixelBuffer::Plane source, const std::array<PixelBuffer::Plane, 3>& target, PixelRect area) {
  HWY_DYNAMIC_DISPATCH(convert)(source, target, area);
}

}  // namespace quillant::ColorConversion
#endif  // HWY_ONCE
