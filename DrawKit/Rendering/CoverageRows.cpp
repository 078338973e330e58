#include "DrawKit/Rendering/CoverageRows.h"

namespace quillant {

void CoverageRows::set(const ShapeCoverage& shape, int left, int right, int top, int bottom) {
  const auto count = static_cast<std::size_t>(bottom - top);
  if (shape == shape_ && left == left_ && right == right_ && top == top_ && count == rows_.size()) return;
  shape_ = shape;
  left_ = left, right_ = right, top_ = top;
  rows_.resize(count);
  row_.resize(static_cast<std::size_t>(right - left));
  values_.clear();
  for (std::size_t i = 0; i < count; ++i) {
    const int y = top + static_cast<int>(i);
    if (i > 0 && shape.repeats(y)) {
      rows_[i] = rows_[i - 1];
      continue;
    }
    const auto extent = shape.row(y, left, right, row_.data());
    rows_[i] = {extent, values_.size()};
    const auto keep = [&](int begin, int end) {
      values_.insert(values_.end(), row_.begin() + (begin - left), row_.begin() + (end - left));
    };
    keep(extent.begin, extent.fullBegin);
    keep(extent.fullEnd, extent.end);
  }
}

}  // namespace quillant
