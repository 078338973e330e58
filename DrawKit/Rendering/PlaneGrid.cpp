#include "DrawKit/Rendering/PlaneGrid.h"

namespace quillant::PlaneGrids {

namespace {

constexpr AxisMap full{1, 0};
/// Half as many samples, each between its two pixels, or at the first of them.
constexpr AxisMap between{0.5, 0};
constexpr AxisMap atFirst{0.5, 0.25};

}  // namespace

PlaneGrid of(PlaneGroup group, PixelFormat format, const ColorEncoding& color) {
  if (group == PlaneGroup::luma) return {full, full};
  using Site = ColorEncoding::ChromaSite;
  const AxisMap halfWidth = color.chromaSite == Site::center ? between : atFirst;
  const AxisMap halfHeight = color.chromaSite == Site::topLeft ? atFirst : between;
  switch (format) {
    case PixelFormat::i420:
    case PixelFormat::i420x10:
      return {halfWidth, halfHeight};
    case PixelFormat::i422:
    case PixelFormat::i422x10:
      return {halfWidth, full};
    default:
      return {full, full};
  }
}

PlaneGrid ofCanvas(PlaneGroup group) {
  return of(group, PixelFormat::i420, {});
}

bool isPlanar(PixelFormat format) {
  return format != PixelFormat::bgra && format != PixelFormat::premultipliedBGRA;
}

bool hasTenBits(PixelFormat format) {
  return format == PixelFormat::i420x10 || format == PixelFormat::i422x10 || format == PixelFormat::i444x10;
}

}  // namespace quillant::PlaneGrids
