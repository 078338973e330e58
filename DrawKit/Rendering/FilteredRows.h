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
  /// The same columns where they are: in the source, or in working memory, up to the next call.
  const std::uint8_t* samples(const RowTaps& taps, int begin, int end);

 private:
  /// If they are the source's own; otherwise null.
  const std::uint8_t* unfiltered(const RowTaps& taps, int begin, int end) const;
  std::array<const RowKernels::FilteredGroup*, RowKernels::taps> filtered(const RowTaps& taps);
  const RowKernels::FilteredGroup* filtered(int row);

  SamplePlane plane_;
  const ColumnFilter* columns_ = nullptr;
  int begin_ = 0;
  int groups_ = 0;
  /// As many rows as one of the result needs, each at its number's remainder.
  std::vector<RowKernels::FilteredGroup> filtered_;
  std::array<int, RowKernels::taps> rows_{};  ///< Which they are.
  std::vector<std::uint8_t> samples_;
};

}  // namespace quillant
