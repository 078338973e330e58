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
  rows_.fill(-1);
  const auto needed = static_cast<std::size_t>(groups) * RowKernels::taps;
  if (filtered_.size() < needed) filtered_.resize(needed);
  if (samples_.size() < static_cast<std::size_t>(groups * size))
    samples_.resize(static_cast<std::size_t>(groups * size));
}

inline const RowKernels::FilteredGroup* FilteredRows::filtered(int row) {
  const int inside = std::clamp(row, 0, plane_.height - 1);
  const auto place = static_cast<std::size_t>(inside % RowKernels::taps);
  RowKernels::FilteredGroup* const groups = filtered_.data() + place * static_cast<std::size_t>(groups_);
  if (rows_[place] != inside) {
    const std::uint8_t* const next = plane_.row(std::min(inside + 1, plane_.height - 1));
    RowKernels::filterRow(plane_.row(inside), next, columns_->groupAt(begin_), groups_, groups);
    rows_[place] = inside;
  }
  return groups;
}

std::array<const RowKernels::FilteredGroup*, RowKernels::taps> FilteredRows::filtered(const RowTaps& taps) {
  return {filtered(taps.first), filtered(taps.first + 1), filtered(taps.first + 2), filtered(taps.first + 3)};
}

const std::uint8_t* FilteredRows::unfiltered(const RowTaps& taps, int begin, int end) const {
  if (!taps.copied || !columns_->copied()) return nullptr;
  const int first = begin + *columns_->copied();
  return first >= 0 && end - begin <= plane_.width - first ? plane_.row(*taps.copied) + first : nullptr;
}

void FilteredRows::combine(const RowTaps& taps, int begin, int end, std::uint8_t* result) {
  if (const std::uint8_t* const source = unfiltered(taps, begin, end))
    std::memcpy(result, source, static_cast<std::size_t>(end - begin));
  else
    RowKernels::combineRows(filtered(taps).data(), begin - begin_, end - begin_, taps.weights, result);
}

const std::uint8_t* FilteredRows::samples(const RowTaps& taps, int begin, int end) {
  if (const std::uint8_t* const source = unfiltered(taps, begin, end)) return source;
  // Whole groups: a few samples would not fill a vector.
  constexpr int size = RowKernels::groupSize;
  const int first = (begin - begin_) / size * size, last = (end - begin_ + size - 1) / size * size;
  RowKernels::combineRows(filtered(taps).data(), first, last, taps.weights, samples_.data() + first);
  return samples_.data() + (begin - begin_);
}

}  // namespace quillant
