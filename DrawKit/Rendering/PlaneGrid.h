#pragma once

#include "Core/PixelBuffer.h"

namespace quillant {

/// From a place in a picture to the place among a plane's samples, along one axis: sample k stands for
/// k to k + 1. Negative scales are of planes that are held mirrored.
struct AxisMap {
  double scale = 1;
  double offset = 0;
  double apply(double place) const { return scale * place + offset; }
  friend bool operator==(const AxisMap&, const AxisMap&) = default;
};

/// How the samples of a plane lie in its picture.
struct PlaneGrid {
  AxisMap x;
  AxisMap y;
  friend bool operator==(const PlaneGrid&, const PlaneGrid&) = default;
};

/// Planes that share a grid.
enum class PlaneGroup { luma, chroma };
inline constexpr PlaneGroup planeGroups[] = {PlaneGroup::luma, PlaneGroup::chroma};

namespace PlaneGrids {

/// Of a picture in this format. BGRA counts as 4:4:4, since that is what becomes of it.
PlaneGrid of(PlaneGroup group, PixelFormat format, const ColorEncoding& color);
/// Of the frames that are drawn.
PlaneGrid ofCanvas(PlaneGroup group);
bool isPlanar(PixelFormat format);
bool hasTenBits(PixelFormat format);

}  // namespace PlaneGrids
}  // namespace quillant
