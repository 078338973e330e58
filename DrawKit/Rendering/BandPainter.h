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
  void drawGroup(const LayerPlan& layer, PlaneGroup which, const PixelRect& area, const PixelBuffer& frame);
  /// Columns `left` to `right` of a row.
  void drawRow(const LayerPlan& layer, PlaneGroup which, int y, int left, int right,
               const PixelBuffer& frame);

  /// Of the present layer's colours and, last, its alpha.
  std::array<FilteredRows, 4> planes_;
  /// Of a row of the frame, by its columns: what was below the layer.
  std::vector<std::uint8_t> below_;
};

}  // namespace quillant
