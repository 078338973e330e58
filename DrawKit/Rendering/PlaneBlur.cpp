#include "DrawKit/Rendering/PlaneBlur.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace quillant::PlaneBlur {

namespace {

/// Its taps on either side of the middle one.
constexpr int longestReach = 16;

struct Kernel {
  int reach = 0;
  std::int16_t weights[2 * longestReach + 1] = {};
  int taps() const { return 2 * reach + 1; }
};

Kernel kernelOf(double sigma) {
  Kernel kernel{.reach = std::clamp(static_cast<int>(std::ceil(4 * sigma)), 0, longestReach)};
  double weights[2 * longestReach + 1], sum = 0;
  for (int i = -kernel.reach; i <= kernel.reach; ++i)
    sum += weights[i + kernel.reach] = sigma > 0 ? std::exp(-i * i / (2 * sigma * sigma)) : 1;
  // The sum of the rounded weights is that of all, 32767 being 1: flat stays flat.
  int left = 32767;
  for (int i = 0; i < kernel.taps(); ++i)
    left -= kernel.weights[i] = static_cast<std::int16_t>(std::lround(weights[i] / sum * 32767));
  kernel.weights[kernel.reach] = static_cast<std::int16_t>(kernel.weights[kernel.reach] + left);
  return kernel;
}

}  // namespace

SourceSamples::NewPlane blur(const Source& source, const Preparation::Group& group, BlockStore& store,
                             BandPool& pool, PreparedPicture& result) {
  const Kernel alongX = kernelOf(group.x.sigma), alongY = kernelOf(group.y.sigma);
  const int padX = group.x.reach, padY = group.y.reach;
  const int width = source.width + 2 * padX, height = source.height + 2 * padY;
  const auto pitch = static_cast<std::size_t>(width);

  // Rows blurred along x, and one of zeros for what lies beyond.
  const auto take = [&](std::size_t values) { return store.take(values * sizeof(std::int16_t)); };
  auto middle = take(pitch * static_cast<std::size_t>(source.height + 1));
  auto* const rows = reinterpret_cast<std::int16_t*>(middle.bytes.get());
  std::int16_t* const nothing = rows + pitch * static_cast<std::size_t>(source.height);
  std::fill_n(nothing, width, std::int16_t{0});
  const auto lineLength = static_cast<std::size_t>(source.width + 2 * (padX + alongX.reach));
  auto lines = take(lineLength * static_cast<std::size_t>(pool.threads()));

  constexpr int part = 16;
  pool.run((source.height + part - 1) / part, [&](int worker, int index) {
    auto* const line =
        reinterpret_cast<std::int16_t*>(lines.bytes.get()) + lineLength * static_cast<std::size_t>(worker);
    std::int16_t* const first = line + padX + alongX.reach;
    for (int y = index * part; y < std::min(source.height, (index + 1) * part); ++y) {
      source.values(y, first);
      const bool fades = padX > 0;
      std::fill(line, first, fades ? std::int16_t{0} : first[0]);
      std::fill(first + source.width, line + lineLength, fades ? std::int16_t{0} : first[source.width - 1]);
      const std::int16_t* terms[2 * longestReach + 1];
      for (int i = 0; i < alongX.taps(); ++i) terms[i] = line + i;
      RowKernels::weightedSum(terms, alongX.weights, alongX.taps(),
                              rows + pitch * static_cast<std::size_t>(y), width);
    }
  });

  const auto blurred = SourceSamples::addPlane(store, result, width, height);
  auto sums = take(pitch * static_cast<std::size_t>(pool.threads()));
  pool.run((height + part - 1) / part, [&](int worker, int index) {
    auto* const sum =
        reinterpret_cast<std::int16_t*>(sums.bytes.get()) + pitch * static_cast<std::size_t>(worker);
    for (int y = index * part; y < std::min(height, (index + 1) * part); ++y) {
      const std::int16_t* terms[2 * longestReach + 1];
      for (int i = 0; i < alongY.taps(); ++i) {
        const int from = y - padY + i - alongY.reach;
        const int inside = std::clamp(from, 0, source.height - 1);
        terms[i] = padY > 0 && from != inside ? nothing : rows + pitch * static_cast<std::size_t>(inside);
      }
      RowKernels::weightedSum(terms, alongY.weights, alongY.taps(), sum, width);
      std::uint8_t* const out = blurred.row(y);
      for (int x = 0; x < width; ++x)
        out[x] = static_cast<std::uint8_t>(std::clamp((sum[x] + 64) >> 7, 0, 255));
    }
  });
  store.giveBack(std::move(middle));
  store.giveBack(std::move(lines));
  store.giveBack(std::move(sums));
  return blurred;
}

}  // namespace quillant::PlaneBlur
