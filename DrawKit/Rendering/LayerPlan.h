#pragma once

#include <array>
#include <span>
#include <vector>

#include "Core/PixelBuffer.h"
#include "DrawKit/Image.h"
#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/ColorMath.h"
#include "DrawKit/Rendering/CoverageRows.h"
#include "DrawKit/Rendering/PreparedPicture.h"
#include "DrawKit/Rendering/RowFilter.h"
#include "DrawKit/Rendering/ShapeCoverage.h"
#include "DrawKit/Rendering/SourceCache.h"

namespace quillant {

/// All that is worked out once a frame to draw one image: where it shows, and where each of its samples comes
/// from. Read by all threads while they draw.
class LayerPlan {
 public:
  /// Of the planes of one grid.
  struct Group {
    ShapeCoverage shape;
    CoverageRows coverage;
    ColumnFilter columns;
    RowFilter rows;
  };

  /// Nothing of it is on the canvas: not to be drawn.
  bool empty() const { return bounds_.width == 0; }
  /// Where it may change the canvas, on even pixels.
  const PixelRect& bounds() const { return bounds_; }
  /// Areas in which nothing below it shows, on even pixels; zero if there are none.
  const std::array<PixelRect, 2>& opaque() const { return opaque_; }

  /// Null for a flat colour.
  const PreparedPicture* picture() const { return picture_; }
  const ColorMath::FlatColor& color() const { return color_; }
  const Group& group(PlaneGroup which) const { return groups_[static_cast<std::size_t>(which)]; }

  /// First where it shows; what was worked out for the frame before is used again where it is the same.
  void place(const Image& image, int canvasWidth, int canvasHeight);
  /// Where parts of the image's picture show, with all that resampling spreads of them; none if that cannot
  /// be told without looking at the picture. Adds to `set`.
  bool addShown(std::vector<PixelRect>& set, const Image& image, std::span<const PixelRect> parts) const;
  /// Then, if any of it is to be drawn, its source and all that is asked of its rows.
  void load(const Image& image, SourceCache& cache);

 private:
  PixelRect bounds_;
  std::array<PixelRect, 2> opaque_{};
  std::array<Group, 2> groups_;
  const PreparedPicture* picture_ = nullptr;
  ColorMath::FlatColor color_;
};

}  // namespace quillant
