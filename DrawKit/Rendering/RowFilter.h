#pragma once

#include <vector>

#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/ColorMath.h"

namespace quillant {

/// The filter of a range of rows: what each is combined from.
class RowFilter {
 public:
  /// For the rows from `begin` to `end`. Does nothing where it is that already.
  void set(const AxisPlacement& placement, const ColorMath::RangeChange& change, int begin, int end);
  const RowTaps& at(int row) const { return rows_[static_cast<std::size_t>(row - first_)]; }

 private:
  AxisPlacement placement_;
  ColorMath::RangeChange change_;
  int first_ = 0;
  std::vector<RowTaps> rows_;
};

}  // namespace quillant
