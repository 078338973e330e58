#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "Core/Geometry.h"
#include "DrawKit/Image.h"

namespace quillant {

/// How much of a plane's samples a shape covers: a rectangle cut by one with round corners.
///
/// All coordinates are the plane's, where sample (i, j) is the square from (i, j) to (i + 1, j + 1).
class ShapeCoverage {
 public:
  /// What a row has: nothing outside of `begin` to `end`, all between `fullBegin` and `fullEnd` (which is
  /// empty where nothing is covered whole).
  struct Row {
    int begin = 0;
    int end = 0;
    int fullBegin = 0;
    int fullEnd = 0;
  };

  ShapeCoverage() = default;
  /// The share counts in the part of a sample's square that lies inside `canvas`. `opacity` multiplies it.
  ShapeCoverage(const Rect& rect, const std::optional<Image::RoundedRect>& mask, const Rect& canvas,
                double opacity);

  /// Of row `y` from `left` to `right`. Writes the coverage (0 to 32767) of every sample from `begin` to
  /// `fullBegin` and from `fullEnd` to `end` to where it belongs in `each`, which stands for `left`.
  Row row(int y, int left, int right, std::int16_t* each) const;
  /// Whether row `y` is covered as the row above it is: both are whole and no corner bends in them.
  bool repeats(int y) const { return y - 1 >= straightBegin_ && y < straightEnd_; }
  std::int16_t opacity() const { return opacity_; }
  const Rect& rect() const { return rect_; }
  friend bool operator==(const ShapeCoverage&, const ShapeCoverage&) = default;

 private:
  /// Where a line begins and ends.
  std::pair<double, double> edgesAt(double y) const;

  Rect rect_;              ///< Of what is covered, corners and all.
  Rect mask_;              ///< With the corners.
  int straightBegin_ = 0;  ///< Rows between the corners.
  int straightEnd_ = 0;
  double radiusX_ = 0;
  double radiusY_ = 0;
  Rect canvas_;
  std::int16_t opacity_ = 0;
};

}  // namespace quillant
