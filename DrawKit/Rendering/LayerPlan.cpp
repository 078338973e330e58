#include "DrawKit/Rendering/LayerPlan.h"

#include <algorithm>
#include <cmath>

#include "Core/PixelRects.h"
#include "DrawKit/Rendering/PlaneGrid.h"
#include "DrawKit/Rendering/RectSet.h"

namespace quillant {

namespace {

int evenDown(double edge) {
  return 2 * static_cast<int>(std::floor(edge / 2));
}

int evenUp(double edge) {
  return 2 * static_cast<int>(std::ceil(edge / 2));
}

/// The pixels whose luma or chroma a rectangle touches. A chroma sample's square is half a pixel further
/// left.
PixelRect touched(const Rect& rect, const PixelRect& canvas) {
  if (!(rect.width > 0 && rect.height > 0)) return {};
  const int left = evenDown(rect.x), top = evenDown(rect.y);
  return PixelRects::intersection({left, top, evenUp(rect.maxX() + 0.5) - left, evenUp(rect.maxY()) - top},
                                  canvas);
}

/// Those whose luma and chroma it covers whole.
PixelRect covered(const Rect& rect, const PixelRect& canvas) {
  if (!(rect.width > 0 && rect.height > 0)) return {};
  const int left = rect.x <= 0 ? 0 : evenUp(rect.x + 0.5), top = evenUp(rect.y);
  const int right = rect.maxX() >= canvas.width ? canvas.width : evenDown(rect.maxX());
  return PixelRects::intersection({left, top, right - left, evenDown(rect.maxY()) - top}, canvas);
}

Rect moved(const Rect& rect, const PlaneGrid& grid) {
  return {grid.x.apply(rect.x), grid.y.apply(rect.y), grid.x.scale * rect.width, grid.y.scale * rect.height};
}

/// Widens a range of the source's pixels by all that is resampled from a sample in it: the cubic has four,
/// and the outer two lie up to one and a half samples from where it is asked for.
void spread(const AxisMap& samples, double& begin, double& end) {
  constexpr double reach = RowKernels::taps / 2 - 0.5;
  const double first = std::floor(samples.apply(begin)) - reach, last = std::ceil(samples.apply(end)) + reach;
  begin = std::min(begin, (first - samples.offset) / samples.scale);
  end = std::max(end, (last - samples.offset) / samples.scale);
}

bool isTurned(const AffineTransform& matrix) {
  return matrix.a == 0 && matrix.d == 0;
}

/// From the samples of a plane of the canvas to those of the source, along an axis on which the source lies
/// at `scale` and `offset` on the canvas.
AxisPlacement placementOf(const AxisMap& source, int count, double scale, double offset,
                          const AxisMap& canvas) {
  return {source.scale / (scale * canvas.scale),
          source.offset - source.scale * (canvas.offset / canvas.scale + offset) / scale, count};
}

}  // namespace

void LayerPlan::place(const Image& image, int canvasWidth, int canvasHeight) {
  picture_ = nullptr;
  bounds_ = {};
  opaque_ = {};
  const PixelRect canvas{0, 0, canvasWidth, canvasHeight};
  const Rect reach = image.bounds();
  if (!(reach.width > 0 && reach.height > 0 && image.opacity > 0)) return;

  const bool blurs = image.blurX > 0 || image.blurY > 0;
  const bool fades = blurs && image.blurEdges == Image::BlurEdges::fading;
  const bool slants = !image.toCanvas.keepsRectangles();
  const Rect shape = fades || slants ? reach : image.toCanvas.bounds(image.crop);
  std::optional<Image::RoundedRect> mask;
  if (image.mask && !fades && !slants) {
    const bool turned = isTurned(image.toCanvas);
    const double scaleX = std::hypot(image.toCanvas.a, image.toCanvas.b);
    const double scaleY = std::hypot(image.toCanvas.c, image.toCanvas.d);
    const double radiusX = image.mask->radiusX * scaleX, radiusY = image.mask->radiusY * scaleY;
    mask = {image.toCanvas.bounds(image.mask->rect), turned ? radiusY : radiusX, turned ? radiusX : radiusY};
  }
  double opacity = image.opacity;
  const auto* color = std::get_if<SerializableColor>(&image.source);
  if (color) {
    color_ = ColorMath::flat(*color);
    if (!fades && !slants) opacity *= color_.alpha;
  }
  for (const PlaneGroup which : planeGroups) {
    const PlaneGrid grid = PlaneGrids::ofCanvas(which);
    std::optional<Image::RoundedRect> movedMask;
    if (mask)
      movedMask = {moved(mask->rect, grid), mask->radiusX * grid.x.scale, mask->radiusY * grid.y.scale};
    const Rect whole{0, 0, static_cast<double>(canvasWidth), static_cast<double>(canvasHeight)};
    groups_[static_cast<std::size_t>(which)].shape =
        ShapeCoverage(moved(shape, grid), movedMask, moved(whole, grid), opacity);
  }
  const Rect& visible = groups_[0].shape.rect();
  bounds_ = touched(visible, canvas);

  const auto* picture = std::get_if<PixelBufferRef>(&image.source);
  if (opacity < 1 || fades || slants || (picture && (*picture)->format == PixelFormat::premultipliedBGRA))
    return;
  if (!mask) {
    opaque_[0] = covered(visible, canvas);
    return;
  }
  const auto within = [&](double insetX, double insetY) {
    const double left = std::max(visible.x, mask->rect.x + insetX),
                 top = std::max(visible.y, mask->rect.y + insetY);
    const double right = std::min(visible.maxX(), mask->rect.maxX() - insetX);
    const double bottom = std::min(visible.maxY(), mask->rect.maxY() - insetY);
    return covered({left, top, right - left, bottom - top}, canvas);
  };
  opaque_ = {within(0, mask->radiusY), within(mask->radiusX, 0)};
}

bool LayerPlan::addShown(std::vector<PixelRect>& set, const Image& image,
                         std::span<const PixelRect> parts) const {
  const auto* picture = std::get_if<PixelBufferRef>(&image.source);
  const bool isSpread = image.blurX > 0 || image.blurY > 0;
  if (!picture || isSpread || (*picture)->color.matrix == ColorEncoding::Matrix::bt601) return false;
  const auto preparation = Preparation::of(image);
  for (const auto& part : parts) {
    double left = part.x, right = part.x + part.width, top = part.y, bottom = part.y + part.height;
    for (const auto& [x, y] : preparation.groups) {
      spread(x.preparedMap(), left, right);
      spread(y.preparedMap(), top, bottom);
    }
    const Rect shown = image.toCanvas.bounds({left, top, right - left, bottom - top});
    RectSet::add(set, touched(shown, bounds_));
  }
  return true;
}

void LayerPlan::load(const Image& image, SourceCache& cache) {
  const bool fades = (image.blurX > 0 || image.blurY > 0) && image.blurEdges == Image::BlurEdges::fading;
  const bool hasSamples = std::holds_alternative<PixelBufferRef>(image.source) || fades;
  AffineTransform matrix = image.toCanvas;
  if (hasSamples) picture_ = &cache.prepared(Preparation::of(image));
  if (!matrix.keepsRectangles()) {
    picture_ = &cache.slanted(image, picture_, bounds_);
    matrix = {};
  }
  const bool turned = isTurned(matrix);
  for (const PlaneGroup which : planeGroups) {
    const auto index = static_cast<std::size_t>(which);
    Group& group = groups_[index];
    const int shift = which == PlaneGroup::chroma ? 1 : 0;
    const int left = bounds_.x >> shift, right = (bounds_.x + bounds_.width) >> shift;
    const int top = bounds_.y >> shift, bottom = (bounds_.y + bounds_.height) >> shift;
    group.coverage.set(group.shape, left, right, top, bottom);
    if (!picture_) continue;
    const SamplePlane& plane = picture_->color[index];
    const PlaneGrid canvas = PlaneGrids::ofCanvas(which);
    group.columns.set(
        placementOf(plane.grid.x, plane.width, turned ? matrix.c : matrix.a, matrix.tx, canvas.x), left,
        right);
    group.rows.set(placementOf(plane.grid.y, plane.height, turned ? matrix.b : matrix.d, matrix.ty, canvas.y),
                   ColorMath::toLimited(picture_->range, which), top, bottom);
  }
}

}  // namespace quillant
