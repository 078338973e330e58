#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "DrawKit/Rendering/ShapeCoverage.h"

namespace quillant {

/// How a shape covers a range of rows.
class CoverageRows {
 public:
  /// For the rows from `top` to `bottom`, between the columns `left` and `right`. Does nothing where it is
  /// that already.
  void set(const ShapeCoverage& shape, int left, int right, int top, int bottom);

  const ShapeCoverage::Row& at(int row) const { return entry(row).extent; }
  /// The coverage of the samples from `begin` to `fullBegin`, and of those from `fullEnd` to `end`.
  const std::int16_t* before(int row) const { return values_.data() + entry(row).values; }
  const std::int16_t* after(int row) const { return before(row) + at(row).fullBegin - at(row).begin; }
  /// Of the samples between.
  std::int16_t opacity() const { return shape_.opacity(); }

 private:
  struct Entry {
    ShapeCoverage::Row extent;
    std::size_t values = 0;  ///< Where its own begin.
  };
  const Entry& entry(int row) const { return rows_[static_cast<std::size_t>(row - top_)]; }

  ShapeCoverage shape_;
  int left_ = 0;
  int right_ = 0;
  int top_ = 0;
  std::vector<Entry> rows_;
  std::vector<std::int16_t> values_;
  std::vector<std::int16_t> row_;  ///< Working memory.
};

}  // namespace quillant
