#include "DrawKit/Rendering/FilteredRows.h"

#include <algorithm>
#include <cstring>

namespace quillant {

void FilteredRows::open(const SamplePlane& plane, const ColumnFilter& columns, int begin, int end) {
  constexpr int size = RowKernels::groupSize;
  const int first = begin - begin % size;
  const int groups = (end - first + size - 1) / size;
  plane_ = plane;
  columns_ = &columns;
  begin_ = first;
  groups_ = groups;
  pairs_.fill(-1);
  const auto values = static_cast<std::size_t>(groups) * size;
  for (auto& row : rows_)
    if (row.size() < values) row.resize(values);
}

const std::int16_t* FilteredRows::filtered(int row) {
  const int inside = std::min(row, plane_.height - 1), pair = inside / 2;
  const auto slot = static_cast<std::size_t>(pair) % pairs_.size();
  if (pairs_[slot] != pair) {
    const std::uint8_t* const sources[] = {plane_.row(2 * pair),
                                           plane_.row(std::min(2 * pair + 1, plane_.height - 1))};
    std::int16_t* const results[] = {rows_[2 * slot].data(), rows_[2 * slot + 1].data()};
    RowKernels::filterRows(sources, columns_->groupAt(begin_), groups_, results);
    pairs_[slot] = pair;
  }
  return rows_[2 * slot + static_cast<std::size_t>(inside % 2)].data();
}

void FilteredRows::combine(const RowTaps& taps, int begin, int end, std::uint8_t* result) {
  if (taps.copied && columns_->copied()) {
    const int first = begin + *columns_->copied();
    if (first >= 0 && end - begin <= plane_.width - first) {
      std::memcpy(result, plane_.row(*taps.copied) + first, static_cast<std::size_t>(end - begin));
      return;
    }
  }
  const std::int16_t* rows[RowKernels::taps];
  for (int tap = 0; tap < RowKernels::taps; ++tap) rows[tap] = filtered(taps.first + tap) + (begin - begin_);
  RowKernels::combineRows(rows, taps.weights, result, end - begin);
}

}  // namespace quillant
