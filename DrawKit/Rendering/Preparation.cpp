#include "DrawKit/Rendering/Preparation.h"

#include <algorithm>
#include <cmath>

#include "DrawKit/Rendering/AxisFilter.h"

namespace quillant {

namespace {

/// A blur is worked out on so small a picture that it is at most this many samples: what is lost by bringing
/// it back to size is below the rounding.
constexpr double largestSigma = 3;
constexpr double reachOfBlur = 4;
/// Sums of numbers leave less than this; it must not make a cached blur another one.
constexpr double sigmaSteps = 1024;
constexpr double nearlyWhole = 1e-6;
/// A colour fills what it fills; what is farther away than this is nothing to see.
constexpr double farthest = 1e5;

int halved(int count, int times) {
  for (; times > 0; --times) count = (count + 1) / 2;
  return count;
}

Preparation::Range rangeOf(const AxisMap& map, double begin, double end, int samples) {
  const double from = std::floor(map.apply(begin) + nearlyWhole),
               to = std::ceil(map.apply(end) - nearlyWhole);
  const int first = static_cast<int>(std::clamp<double>(from, 0, samples - 1));
  return {first, static_cast<int>(std::clamp<double>(to, first + 1, samples))};
}

/// `scale` is canvas pixels a source pixel, `canvas` samples a canvas pixel, `sigma` source pixels.
void setHalvings(Preparation::Axis& axis, double scale, double canvas, double sigma, bool fading) {
  if (sigma > 0) {
    axis.sigma = sigma * axis.map.scale;
    // Also where one sample is left: it stands for more and more, and the shape for how much of that there
    // is.
    while (axis.sigma > largestSigma) {
      axis.sigma /= 2;
      ++axis.blurHalvings;
    }
    // The means have blurred a little already.
    const double means = (1 - std::pow(0.25, axis.blurHalvings)) / 12;
    axis.sigma = std::sqrt(std::max(0.0, axis.sigma * axis.sigma - means));
    axis.sigma = std::round(axis.sigma * sigmaSteps) / sigmaSteps;
    if (fading) axis.reach = static_cast<int>(std::ceil(reachOfBlur * axis.sigma));
  }
  int count = halved(axis.range.count(), axis.blurHalvings) + 2 * axis.reach;
  for (double step = std::ldexp(axis.map.scale, -axis.blurHalvings) / (scale * canvas);
       step > AxisPlacement::longestStep && count > 1; step /= 2) {
    ++axis.halvings;
    count = halved(count, 1);
  }
}

/// Leaves out of both planes' ranges what lies beyond `begin` to `end`, in pixels, and beyond the reach of
/// the samples there.
void narrow(Preparation::Axis& luma, Preparation::Axis& chroma, double begin, double end) {
  // Steps of whole samples, after the halvings too: the same neighbours become a mean.
  const int step = 2 << std::max(luma.halvings, chroma.halvings), reach = 5 * step;
  const int first = luma.range.begin;
  int before = 0, kept = luma.range.count() + step;
  if (begin - reach > first) before = static_cast<int>((begin - reach - first) / step) * step;
  if (end + reach < luma.range.end)
    kept = static_cast<int>(std::ceil((end + reach - first) / step)) * step - before;
  for (Preparation::Axis* axis : {&luma, &chroma}) {
    const auto samples = [&](int pixels) { return static_cast<int>(pixels * axis->map.scale); };
    axis->range.begin += samples(before);
    axis->range.end = std::min(axis->range.end, axis->range.begin + samples(kept));
  }
}

}  // namespace

AxisMap Preparation::Axis::preparedMap() const {
  const double blurScale = std::ldexp(1.0, -blurHalvings), scale = std::ldexp(1.0, -halvings);
  return {map.scale * blurScale * scale, ((map.offset - range.begin) * blurScale + reach) * scale};
}

int Preparation::Axis::preparedCount() const {
  return halved(halved(range.count(), blurHalvings) + 2 * reach, halvings);
}

Preparation Preparation::of(const Image& image) {
  const AffineTransform& matrix = image.toCanvas;
  const double scaleX = std::hypot(matrix.a, matrix.b), scaleY = std::hypot(matrix.c, matrix.d);
  const bool turned = matrix.a == 0 && matrix.d == 0;
  Preparation result{.source = image.source, .blurs = image.blurX > 0 || image.blurY > 0};
  const double sigmaX = (turned ? image.blurY : image.blurX) / scaleX;
  const double sigmaY = (turned ? image.blurX : image.blurY) / scaleY;
  const bool fading = result.blurs && image.blurEdges == Image::BlurEdges::fading;

  const auto* picture = std::get_if<PixelBufferRef>(&image.source);
  for (const PlaneGroup group : planeGroups) {
    const PixelFormat format = picture ? (*picture)->format : PixelFormat::i444;
    const ColorEncoding color = picture ? (*picture)->color : ColorEncoding{};
    PlaneGrid grid = PlaneGrids::of(group, format, color);
    const auto& canvas = PlaneGrids::ofCanvas(group);
    auto& [x, y] = result.groups[static_cast<std::size_t>(group)];
    if (picture) {
      const auto samples = [](const AxisMap& map, int pixels) {
        return map.scale == 1 ? pixels : (pixels + 1) / 2;
      };
      x.range = rangeOf(grid.x, image.crop.x, image.crop.maxX(), samples(grid.x, (*picture)->width));
      y.range = rangeOf(grid.y, image.crop.y, image.crop.maxY(), samples(grid.y, (*picture)->height));
      // What is BT.601 becomes 4:4:4, over the range that its luma has.
      if (group == PlaneGroup::chroma && PlaneGrids::isPlanar(format) &&
          color.matrix == ColorEncoding::Matrix::bt601) {
        grid = {};
        x = result.groups[0].x, y = result.groups[0].y;
        x.blurHalvings = x.halvings = y.blurHalvings = y.halvings = x.reach = y.reach = 0;
        x.sigma = y.sigma = 0;
      }
    } else {
      // A colour has samples only for its blur: as many as there are pixels.
      const auto pixels = [](double begin, double end) {
        const auto whole = [](double edge) {
          return static_cast<int>(std::clamp(edge, -farthest, farthest));
        };
        return Preparation::Range{whole(std::floor(begin)),
                                  std::max(whole(std::floor(begin)) + 1, whole(std::ceil(end)))};
      };
      x.range = pixels(image.crop.x, image.crop.maxX());
      y.range = pixels(image.crop.y, image.crop.maxY());
    }
    x.map = grid.x, y.map = grid.y;
    setHalvings(x, scaleX, turned ? canvas.y.scale : canvas.x.scale, sigmaX, fading);
    setHalvings(y, scaleY, turned ? canvas.x.scale : canvas.y.scale, sigmaY, fading);
  }
  if (picture && image.mask && !result.blurs) {
    auto& [luma, chroma] = result.groups;
    narrow(luma.x, chroma.x, image.mask->rect.x, image.mask->rect.maxX());
    narrow(luma.y, chroma.y, image.mask->rect.y, image.mask->rect.maxY());
  }
  if (result.blurs) result.edges = image.blurEdges;
  if (fading) {
    result.crop = image.crop;
    result.mask = image.mask;
  }
  result.transposed = turned;
  result.mirroredX = (turned ? matrix.c : matrix.a) < 0;
  result.mirroredY = (turned ? matrix.b : matrix.d) < 0;
  return result;
}

}  // namespace quillant
