#include "DrawKit/Rendering/SlantedPicture.h"

#include <algorithm>
#include <cmath>

#include "DrawKit/Rendering/ColorMath.h"
#include "DrawKit/Rendering/SourceSamples.h"

namespace quillant::SlantedPicture {

namespace {

/// Of a sample's square, along each side: where its share of a slanted shape is counted.
constexpr int countedSide = 12;

/// Catmull-Rom.
std::array<double, 4> cubic(double t) {
  return {((-0.5 * t + 1) * t - 0.5) * t, (1.5 * t - 2.5) * t * t + 1, ((-1.5 * t + 2) * t + 0.5) * t,
          (0.5 * t - 0.5) * t * t};
}

/// At a place in the source.
double sampleAt(const SamplePlane& plane, Point place) {
  const double x = std::clamp(plane.grid.x.apply(place.x) - 0.5, -4.0, plane.width + 4.0);
  const double y = std::clamp(plane.grid.y.apply(place.y) - 0.5, -4.0, plane.height + 4.0);
  const double left = std::floor(x), top = std::floor(y);
  const auto across = cubic(x - left), down = cubic(y - top);
  double sum = 0;
  for (int j = 0; j < 4; ++j) {
    const std::uint8_t* row = plane.row(std::clamp(static_cast<int>(top) - 1 + j, 0, plane.height - 1));
    double line = 0;
    for (int i = 0; i < 4; ++i)
      line += across[static_cast<std::size_t>(i)] *
              row[std::clamp(static_cast<int>(left) - 1 + i, 0, plane.width - 1)];
    sum += down[static_cast<std::size_t>(j)] * line;
  }
  return std::clamp(sum, 0.0, 255.0);
}

bool covers(const Image& image, Point place) {
  if (!image.crop.contains(place)) return false;
  if (!image.mask) return true;
  const auto& [rect, radiusX, radiusY] = *image.mask;
  if (!rect.contains(place)) return false;
  const double dx = std::max({rect.x + radiusX - place.x, place.x - (rect.maxX() - radiusX), 0.0});
  const double dy = std::max({rect.y + radiusY - place.y, place.y - (rect.maxY() - radiusY), 0.0});
  if (dx == 0 || dy == 0) return true;
  return dx * dx / (radiusX * radiusX) + dy * dy / (radiusY * radiusY) <= 1;
}

std::uint8_t byte(double value) {
  return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

void draw(const Image& image, const PreparedPicture* source, const PixelRect& area, BlockStore& store,
          BandPool& pool, PreparedPicture& result) {
  const AffineTransform back = image.toCanvas.inverse();
  const bool fades = (image.blurX > 0 || image.blurY > 0) && image.blurEdges == Image::BlurEdges::fading;
  const auto* color = std::get_if<SerializableColor>(&image.source);
  const auto flat = color ? ColorMath::flat(*color) : ColorMath::FlatColor{};
  for (const PlaneGroup which : planeGroups) {
    const auto index = static_cast<std::size_t>(which);
    const int shift = which == PlaneGroup::chroma ? 1 : 0;
    const PlaneGrid canvas = PlaneGrids::ofCanvas(which);
    const int left = area.x >> shift, top = area.y >> shift;
    const int width = area.width >> shift, height = area.height >> shift;
    const PlaneGrid grid{{canvas.x.scale, canvas.x.offset - left}, {canvas.y.scale, canvas.y.offset - top}};
    const std::size_t first = which == PlaneGroup::luma ? 0 : 1, end = which == PlaneGroup::luma ? 1 : 3;
    std::array<SourceSamples::NewPlane, 4> planes;
    const auto add = [&](std::size_t plane) {
      planes[plane] = SourceSamples::addPlane(store, result, width, height);
      return SamplePlane{planes[plane].data, planes[plane].stride, width, height, grid};
    };
    for (std::size_t plane = first; plane < end; ++plane) result.color[plane] = add(plane);
    result.alpha[index] = add(3);
    const auto change = ColorMath::toLimited(source ? source->range : ColorEncoding::Range::limited, which);
    const auto inSource = [&](double x, double y) {
      return back.apply({(x - grid.x.offset) / grid.x.scale, (y - grid.y.offset) / grid.y.scale});
    };
    SourceSamples::inParts(pool, height, [&](int begin, int stop) {
      for (int y = begin; y < stop; ++y)
        for (int x = 0; x < width; ++x) {
          int inside = fades ? countedSide * countedSide : 0;
          if (!fades)
            for (int i = 0; i < countedSide * countedSide; ++i)
              inside += covers(image, inSource(x + (i % countedSide + 0.5) / countedSide,
                                               y + (i / countedSide + 0.5) / countedSide));
          const double covered = static_cast<double>(inside) / (countedSide * countedSide);
          const Point place = inSource(x + 0.5, y + 0.5);
          double alpha = 255 * flat.alpha;
          if (source) alpha = source->alpha[index] ? sampleAt(source->alpha[index], place) : 255;
          planes[3].row(y)[x] = byte(alpha * covered);
          for (std::size_t plane = first; plane < end; ++plane) {
            double value = flat.samples[plane] * flat.alpha;
            if (source) value = (sampleAt(source->color[plane], place) - 128) * change.gain + change.middle;
            planes[plane].row(y)[x] = byte(value * covered);
          }
        }
    });
  }
  result.range = ColorEncoding::Range::limited;
}

}  // namespace quillant::SlantedPicture
