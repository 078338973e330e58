#include "DrawKit/Rendering/AxisFilter.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

/// The nearest whole number, without a call, of what is not far below 0.
int rounded(double value) {
  constexpr int above = 1 << 20;
  return static_cast<int>(value + (above + 0.5)) - above;
}

/// A place this near to a sample's is that sample's: what sums of numbers leave.
constexpr double nearlyWhole = 1e-6;

/// Where a sample of the result lies among the source's: that far beyond one of them.
struct Place {
  int whole;
  double fraction;
};

Place placeOf(const AxisPlacement& placement, int sample) {
  const double place = placement.step * (sample + 0.5) + placement.origin - 0.5;
  // What is far beyond an end is the end's sample; it must fit an int.
  const double near = std::clamp(place, -4.0, placement.count + 4.0);
  const int whole = rounded(near + nearlyWhole - 0.5);
  return {whole, std::max(0.0, near - whole)};
}

using Weights = std::array<std::int16_t, RowKernels::taps>;

Weights cubic(double t, int one) {
  const double weights[] = {((-0.5 * t + 1) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1,
                            ((-1.5 * t + 2) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
  Weights result;
  double errors[RowKernels::taps];
  int left = one;
  for (std::size_t tap = 0; tap < result.size(); ++tap) {
    const int fixed = rounded(weights[tap] * one);
    errors[tap] = weights[tap] * one - fixed;
    result[tap] = static_cast<std::int16_t>(fixed);
    left -= fixed;
  }
  // What rounding has left goes to those that it took most from.
  for (const int step = left > 0 ? 1 : -1; left != 0; left -= step) {
    std::size_t farthest = 0;
    for (std::size_t tap = 1; tap < result.size(); ++tap)
      if (errors[tap] * step > errors[farthest] * step) farthest = tap;
    errors[farthest] -= step;
    result[farthest] = static_cast<std::int16_t>(result[farthest] + step);
  }
  return result;
}

/// Places between two samples at which a column's weights are worked out beforehand. In a zoom every frame
/// has other columns; and so many places make less of an error than seven bits do.
constexpr int keptPlaces = 1024;
using ColumnWeights = std::array<Weights, keptPlaces + 1>;

ColumnWeights columnWeights() {
  ColumnWeights result;
  for (int i = 0; i <= keptPlaces; ++i)
    result[static_cast<std::size_t>(i)] = cubic(static_cast<double>(i) / keptPlaces, RowKernels::columnOne);
  return result;
}

}  // namespace

bool AxisPlacement::isWhole() const {
  const double first = step / 2 + origin - 0.5;
  return std::abs(step - 1) < 1e-9 && std::abs(first - std::round(first)) < nearlyWhole;
}

int AxisPlacement::wholeSample(int sample) const {
  return static_cast<int>(std::lround(sample + step / 2 + origin - 0.5));
}

AxisTaps rowTaps(const AxisPlacement& placement, int row) {
  const Place place = placeOf(placement, row);
  return {place.whole - 1, cubic(place.fraction, RowKernels::rowOne)};
}

AxisTaps columnTaps(const AxisPlacement& placement, int column) {
  static const ColumnWeights weights = columnWeights();
  const Place place = placeOf(placement, column);
  return {place.whole - 1, weights[static_cast<std::size_t>(rounded(place.fraction * keptPlaces))]};
}

void ColumnFilter::set(const AxisPlacement& placement, int begin, int end) {
  constexpr int size = RowKernels::groupSize;
  const int first = begin / size;
  const auto count = static_cast<std::size_t>((end + size - 1) / size - first);
  if (placement == placement_ && first == firstGroup_ && count == groups_.size()) return;
  placement_ = placement;
  firstGroup_ = first;
  groups_.resize(count);
  copied_ = placement.isWhole() ? std::optional<int>(placement.wholeSample(0)) : std::nullopt;
  for (std::size_t g = 0; g < count; ++g) {
    auto& group = groups_[g];
    AxisTaps columns[size];
    for (int i = 0; i < size; ++i)
      columns[i] = columnTaps(placement, (first + static_cast<int>(g)) * size + i);
    const auto sampleOf = [&](int column, int tap) {
      return std::clamp(columns[column].first + tap, 0, placement.count - 1);
    };
    const auto base = [&](int column, int reach) {
      return std::min(sampleOf(column, 0), std::max(0, placement.count - reach));
    };
    group.groupBase = base(0, RowKernels::groupReach);
    for (int part = 0; part < RowKernels::groupParts; ++part)
      group.partBases[part] = base(part * RowKernels::partSize, RowKernels::partReach);
    for (int i = 0; i < size; ++i)
      for (int tap = 0; tap < RowKernels::taps; ++tap) {
        const int pair = tap / 2, lane = 2 * i + tap % 2;
        const auto from = [&](int place) { return static_cast<std::uint8_t>(sampleOf(i, tap) - place); };
        group.groupLanes[pair][lane] = from(group.groupBase);
        group.partLanes[pair][lane] = from(group.partBases[i / RowKernels::partSize]);
        group.opposites[pair][lane] =
            static_cast<std::int8_t>(-columns[i].weights[static_cast<std::size_t>(tap)]);
      }
  }
}

}  // namespace quillant
