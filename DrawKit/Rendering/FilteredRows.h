#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/PreparedPicture.h"

namespace quillant {

/// The rows of one plane, filtered along x and kept while the rows of the result need them: each source row
/// is filtered once as the result goes down. Working memory of one thread.
class FilteredRows {
 public:
  /// From here on, columns `begin` to `end` of the result. Both outlive the calls of `combine`.
  void open(const SamplePlane& plane, const ColumnFilter& columns, int begin, int end);
  /// Columns `begin` to `end`, among those that were opened, of a row of the result.
  void combine(const RowTaps& taps, int begin, int end, std::uint8_t* result);

 private:
  const std::int16_t* filtered(int row);

  SamplePlane plane_;
  const ColumnFilter* columns_ = nullptr;
  int begin_ = 0;
  int groups_ = 0;
  /// Rows are filtered two at a time: which pair each two of `rows_` are. Four in a row touch three pairs.
  std::array<int, 4> pairs_{};
  std::array<std::vector<std::int16_t>, 8> rows_;
};

}  // namespace quillant
