#include "DrawKit/Rendering/AxisFilter.h"

#include <algorithm>
#include <cmath>

namespace quillant {

namespace {

constexpr int one = 1 << 14;
/// The nearest whole number, without a call, of what is not far below 0.
int rounded(double value) {
  constexpr int above = 1 << 20;
  return static_cast<int>(value + (above + 0.5)) - above;
}

/// A place this near to a sample's is that sample's: what sums of numbers leave.
constexpr double nearlyWhole = 1e-6;

}  // namespace

bool AxisPlacement::isWhole() const {
  const double first = step / 2 + origin - 0.5;
  return std::abs(step - 1) < 1e-9 && std::abs(first - std::round(first)) < nearlyWhole;
}

int AxisPlacement::wholeSample(int sample) const {
  return static_cast<int>(std::lround(sample + step / 2 + origin - 0.5));
}

AxisTaps axisTaps(const AxisPlacement& placement, int sample) {
  const int taps = RowKernels::taps;
  const double place = placement.step * (sample + 0.5) + placement.origin - 0.5;
  // What is far beyond an end is the end's sample; it must fit an int.
  const double near = std::clamp(place, -4.0, placement.count + 4.0);
  const int whole = rounded(near + nearlyWhole - 0.5);
  const double t = std::max(0.0, near - whole);
  const double weights[taps] = {((-0.5 * t + 1) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1,
                                ((-1.5 * t + 2) * t + 0.5) * t, (0.5 * t - 0.5) * t * t};
  int fixed[taps];
  int sum = 0;
  for (int tap = 0; tap < taps; ++tap) sum += fixed[tap] = rounded(weights[tap] * one);
  fixed[t < 0.5 ? 1 : 2] += one - sum;

  AxisTaps result;
  const int start = whole - 1;
  result.first = std::clamp(start, 0, std::max(0, placement.count - taps));
  for (int tap = 0; tap < taps; ++tap) {
    const int from = std::clamp(start + tap, 0, placement.count - 1);
    result.weights[from - result.first] =
        static_cast<std::int16_t>(result.weights[from - result.first] + fixed[tap]);
  }
  return result;
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
    for (int i = 0; i < size; ++i) columns[i] = axisTaps(placement, (first + static_cast<int>(g)) * size + i);
    const auto base = [&](int column, int reach) {
      return std::clamp(columns[column].first, 0, std::max(0, placement.count - reach));
    };
    group.groupBase = base(0, RowKernels::groupReach);
    for (int part = 0; part < RowKernels::groupParts; ++part)
      group.partBases[part] = base(part * RowKernels::partSize, RowKernels::partReach);
    for (int i = 0; i < size; ++i) {
      const auto place = [&](int from) { return static_cast<std::uint8_t>(columns[i].first - from); };
      group.groupLanes[2 * i] = group.partLanes[2 * i] = 0x80;
      group.groupLanes[2 * i + 1] = place(group.groupBase);
      group.partLanes[2 * i + 1] = place(group.partBases[i / RowKernels::partSize]);
      for (int tap = 0; tap < RowKernels::taps; ++tap) group.weights[tap][i] = columns[i].weights[tap];
    }
  }
}

}  // namespace quillant
