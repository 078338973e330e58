#include "DrawKit/Rendering/FilteredRows.h"

#include <algorithm>

namespace quillant {

void FilteredRows::open(const SamplePlane& plane, const ColumnFilter& columns, int begin, int end) {
  constexpr int size = RowKernels::groupSize;
  const int first = begin - begin % size;
  const int groups = (end - first + size - 1) / size;
  plane_ = plane;
  columns_ = &columns;
  begin_ = first;
  groups_ = groups;
  kept_.fill(-1);
  const auto values = static_cast<std::size_t>(groups) * size;
  for (auto& row : rows_)
    if (row.size() < values) row.resize(values);
}

const std::int16_t* FilteredRows::filtered(int row) {
  const int inside = std::min(row, plane_.height - 1);
  const auto slot = static_cast<std::size_t>(inside) % kept_.size();
  if (kept_[slot] != inside) {
    RowKernels::filterRow(plane_.row(inside), columns_->groupAt(begin_), groups_, rows_[slot].data());
    kept_[slot] = inside;
  }
  return rows_[slot].data();
}

void FilteredRows::combine(const RowTaps& taps, int begin, int end, std::uint8_t* result) {
  const std::int16_t* rows[RowKernels::taps];
  for (int tap = 0; tap < RowKernels::taps; ++tap) rows[tap] = filtered(taps.first + tap) + (begin - begin_);
  RowKernels::combineRows(rows, taps.weights, result, end - begin);
}

}  // namespace quillant
