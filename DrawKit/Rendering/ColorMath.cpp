#include "DrawKit/Rendering/ColorMath.h"

#include <algorithm>
#include <cmath>

namespace quillant::ColorMath {

namespace {

constexpr int fractionBits = 14;

/// The weights of red, green and blue in luma.
struct Primaries {
  double red;
  double blue;
  constexpr double green() const { return 1 - red - blue; }
};
constexpr Primaries bt601{0.299, 0.114};
constexpr Primaries bt709{0.2126, 0.0722};

using Matrix = std::array<std::array<double, 3>, 3>;

/// RGB from 0 to 1 to Y from 0 to 1 and U and V from -1/2 to 1/2.
constexpr Matrix encoding(const Primaries& p) {
  const double u = 2 * (1 - p.blue), v = 2 * (1 - p.red);
  return {{{p.red, p.green(), p.blue},
           {-p.red / u, -p.green() / u, (1 - p.blue) / u},
           {(1 - p.red) / v, -p.green() / v, -p.blue / v}}};
}

constexpr Matrix decoding(const Primaries& p) {
  const double u = 2 * (1 - p.blue), v = 2 * (1 - p.red);
  return {{{1, 0, v}, {1, -u * p.blue / p.green(), -v * p.red / p.green()}, {1, u, 0}}};
}

constexpr double limitedScale[] = {219, 224, 224};
constexpr double limitedOffset[] = {16, 128, 128};

std::uint8_t byte(double value) {
  return static_cast<std::uint8_t>(std::clamp<long>(std::lround(value), 0, 255));
}

}  // namespace

std::array<std::uint8_t, 3> fromPremultiplied(int red, int green, int blue, int alpha) {
  static constexpr Matrix matrix = encoding(bt709);
  constexpr auto fraction = [](std::size_t row, std::size_t column) {
    const double weight = matrix[row][column] * limitedScale[row] / 255 * (1 << fractionBits);
    return static_cast<int>(weight + (weight < 0 ? -0.5 : 0.5));
  };
  static constexpr int weights[3][3] = {{fraction(0, 0), fraction(0, 1), fraction(0, 2)},
                                        {fraction(1, 0), fraction(1, 1), fraction(1, 2)},
                                        {fraction(2, 0), fraction(2, 1), fraction(2, 2)}};
  std::array<std::uint8_t, 3> result{};
  for (std::size_t i = 0; i < 3; ++i) {
    const int offset = ((static_cast<int>(limitedOffset[i]) * alpha << fractionBits) + 127) / 255;
    const int sum = weights[i][0] * red + weights[i][1] * green + weights[i][2] * blue + offset;
    result[i] =
        static_cast<std::uint8_t>(std::clamp((sum + (1 << (fractionBits - 1))) >> fractionBits, 0, 255));
  }
  return result;
}

FlatColor flat(const SerializableColor& color) {
  static constexpr Matrix matrix = encoding(bt709);
  const double red = std::clamp(color.red, 0.0, 1.0), green = std::clamp(color.green, 0.0, 1.0);
  const double blue = std::clamp(color.blue, 0.0, 1.0);
  FlatColor result{.alpha = std::clamp(color.alpha, 0.0, 1.0)};
  for (std::size_t i = 0; i < 3; ++i)
    result.samples[i] = byte(limitedOffset[i] + limitedScale[i] * (matrix[i][0] * red + matrix[i][1] * green +
                                                                   matrix[i][2] * blue));
  return result;
}

RangeChange toLimited(ColorEncoding::Range range, PlaneGroup group) {
  if (range == ColorEncoding::Range::limited) return {};
  if (group == PlaneGroup::chroma) return {224.0 / 255, 128};
  return {219.0 / 255, 16 + 128 * 219.0 / 255};
}

RowTaps weighted(const AxisTaps& taps, const RangeChange& change) {
  RowTaps result{.first = taps.first};
  for (std::size_t tap = 0; tap < RowKernels::taps; ++tap)
    result.weights.weights[tap] =
        change.gain == 1 ? taps.weights[tap]
                         : static_cast<std::int16_t>(std::lround(taps.weights[tap] * change.gain));
  result.weights.bias = static_cast<std::int16_t>(std::lround(change.middle * 64) + 32);
  return result;
}

MatrixChange::MatrixChange(ColorEncoding::Range from) : offset_(from == ColorEncoding::Range::full ? 0 : 16) {
  const Matrix decode = decoding(bt601), encode = encoding(bt709);
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column) {
      double weight = 0;
      for (std::size_t k = 0; k < 3; ++k) weight += encode[row][k] * decode[k][column];
      const double before = from == ColorEncoding::Range::full ? 255 : limitedScale[column];
      weights_[row][column] =
          static_cast<int>(std::lround(weight * limitedScale[row] / before * (1 << fractionBits)));
    }
}

void MatrixChange::apply(const std::uint8_t* y, std::uint8_t* newY, std::uint8_t* u, std::uint8_t* v,
                         int count) const {
  constexpr int half = 1 << (fractionBits - 1);
  for (int i = 0; i < count; ++i) {
    const int in[3] = {y[i] - offset_, u[i] - 128, v[i] - 128};
    const auto out = [&](std::size_t row, int offset) {
      const auto& w = weights_[row];
      const int sum = (w[0] * in[0] + w[1] * in[1] + w[2] * in[2] + half) >> fractionBits;
      return static_cast<std::uint8_t>(std::clamp(sum + offset, 0, 255));
    };
    const auto newU = out(1, 128), newV = out(2, 128);
    newY[i] = out(0, 16);
    u[i] = newU, v[i] = newV;
  }
}

}  // namespace quillant::ColorMath
