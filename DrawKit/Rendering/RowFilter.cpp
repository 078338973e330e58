#include "DrawKit/Rendering/RowFilter.h"

namespace quillant {

void RowFilter::set(const AxisPlacement& placement, const ColorMath::RangeChange& change, int begin,
                    int end) {
  const auto count = static_cast<std::size_t>(end - begin);
  if (placement == placement_ && change == change_ && begin == first_ && count == rows_.size()) return;
  placement_ = placement;
  change_ = change;
  first_ = begin;
  rows_.resize(count);
  for (std::size_t i = 0; i < count; ++i)
    rows_[i] = ColorMath::rowTaps(axisTaps(placement, begin + static_cast<int>(i)), change);
}

}  // namespace quillant
