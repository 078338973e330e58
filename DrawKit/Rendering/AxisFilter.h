#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "DrawKit/Rendering/RowKernels.h"

namespace quillant {

/// Where along one axis the samples of a plane come from: sample i of the result lies at
/// step * (i + 1/2) + origin among the source's samples, of which there are `count`.
struct AxisPlacement {
  double step = 1;
  double origin = 0;
  int count = 0;
  friend bool operator==(const AxisPlacement&, const AxisPlacement&) = default;

  /// More source samples than this on one of the result are halved first.
  static constexpr double longestStep = 1.5;
  /// Each sample of the result is one of the source's.
  bool isWhole() const;
  /// Then, which of the source's `sample` is.
  int wholeSample(int sample) const;
};

/// One sample of a result: neighbouring samples from `first` on, and their weights. What is beyond an end is
/// the sample at that end.
struct AxisTaps {
  int first = 0;
  std::array<std::int16_t, RowKernels::taps> weights{};
};

/// The same for rows that have been filtered along x.
struct RowTaps {
  int first = 0;
  RowKernels::RowWeights weights;
  std::optional<int> copied;  ///< The one row that this row is the same as.
};

/// Catmull-Rom. The weights' sum is exactly `RowKernels::rowOne`.
AxisTaps rowTaps(const AxisPlacement& placement, int row);
/// The same with a sum of `RowKernels::columnOne`, for the nearest of the places between two samples whose
/// weights are kept.
AxisTaps columnTaps(const AxisPlacement& placement, int column);

/// The filter of a range of columns, in groups as the kernel has them. A source row must have `groupReach`
/// readable bytes at least.
class ColumnFilter {
 public:
  /// For the samples from `begin` to `end`, and those that fill their groups: groups begin at multiples of
  /// `groupSize`. Does nothing where it is that already.
  void set(const AxisPlacement& placement, int begin, int end);
  /// How much further on the sample is that each of them is the same as, if that is so: but for the ends.
  std::optional<int> copied() const { return copied_; }
  const RowKernels::ColumnGroup* groupAt(int sample) const {
    return groups_.data() + (sample / RowKernels::groupSize - firstGroup_);
  }

 private:
  AxisPlacement placement_;
  std::optional<int> copied_;
  int firstGroup_ = 0;
  std::vector<RowKernels::ColumnGroup> groups_;
};

}  // namespace quillant
