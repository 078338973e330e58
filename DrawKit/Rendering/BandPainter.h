#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Core/PixelBuffer.h"
#include "DrawKit/Rendering/FilteredRows.h"
#include "DrawKit/Rendering/LayerPlan.h"

namespace quillant {

/// Draws layers into areas of a frame, with working memory of one thread.
class BandPainter {
 public:
  /// Over what is there, in `frame`, which is I420. `area` lies on even pixels inside the layer's bounds.
  void draw(const LayerPlan& layer, const PixelRect& area, const PixelBuffer& frame);

 private:
  /// A stretch of a row on which all samples are covered alike, or each by its own share.
  struct Span {
    int begin = 0;
    int end = 0;
    RowKernels::Coverage coverage;
  };

  void drawGroup(const LayerPlan& layer, PlaneGroup which, const PixelRect& area, const PixelBuffer& frame);
  void drawSpan(const LayerPlan& layer, PlaneGroup which, int y, const Span& span, const PixelBuffer& frame);
  /// Samples of a row in working memory.
  const std::uint8_t* samples(std::size_t plane, const RowTaps& taps, int begin, int end);

  /// Of the present layer's colours and, last, its alpha.
  std::array<FilteredRows, 4> planes_;
  std::array<std::vector<std::uint8_t>, 2> row_;
  std::vector<std::int16_t> coverage_;
};

}  // namespace quillant
