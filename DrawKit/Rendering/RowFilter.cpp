#include "DrawKit/Rendering/RowFilter.h"

#include <algorithm>

namespace quillant {

void RowFilter::set(const AxisPlacement& placement, const ColorMath::RangeChange& change, int begin,
                    int end) {
  const auto count = static_cast<std::size_t>(end - begin);
  if (placement == placement_ && change == change_ && begin == first_ && count == rows_.size()) return;
  placement_ = placement;
  change_ = change;
  first_ = begin;
  rows_.resize(count);
  const bool copies = placement.isWhole() && change == ColorMath::RangeChange{};
  for (std::size_t i = 0; i < count; ++i) {
    const int row = begin + static_cast<int>(i);
    rows_[i] = ColorMath::weighted(rowTaps(placement, row), change);
    if (copies) rows_[i].copied = std::clamp(placement.wholeSample(row), 0, placement.count - 1);
  }
}

}  // namespace quillant
