#include "DrawKit/Rendering/PreparePicture.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "DrawKit/Rendering/ColorMath.h"
#include "DrawKit/Rendering/PlaneBlur.h"
#include "DrawKit/Rendering/ShapeCoverage.h"
#include "DrawKit/Rendering/SourceSamples.h"

namespace quillant {

namespace {

using SourceSamples::inParts;
using SourceSamples::NewPlane;

constexpr std::size_t indexOf(PlaneGroup group) {
  return static_cast<std::size_t>(group);
}

SamplePlane halved(const SamplePlane& plane, bool alongX, bool alongY, BlockStore& store, BandPool& pool,
                   PreparedPicture& result) {
  const int width = alongX ? (plane.width + 1) / 2 : plane.width;
  const int height = alongY ? (plane.height + 1) / 2 : plane.height;
  const NewPlane half = SourceSamples::addPlane(store, result, width, height);
  inParts(pool, height, [&](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      const std::uint8_t* upper = plane.row(alongY ? 2 * y : y);
      const std::uint8_t* lower = alongY ? plane.row(std::min(2 * y + 1, plane.height - 1)) : upper;
      if (alongX)
        RowKernels::halve(upper, lower, half.row(y), plane.width);
      else
        RowKernels::average(upper, lower, half.row(y), plane.width);
    }
  });
  return {half.data, half.stride, width, height, plane.grid};
}

SamplePlane halvedTimes(SamplePlane plane, int alongX, int alongY, BlockStore& store, BandPool& pool,
                        PreparedPicture& result) {
  for (; alongX > 0 || alongY > 0; --alongX, --alongY)
    plane = halved(plane, alongX > 0, alongY > 0, store, pool, result);
  return plane;
}

SamplePlane laidOut(const SamplePlane& plane, const Preparation& preparation, BlockStore& store,
                    BandPool& pool, PreparedPicture& result) {
  SamplePlane turned = plane;
  if (preparation.transposed || preparation.mirroredX) {
    // Where result (0, 0) is in the source, and the steps of one along the result's axes.
    const std::ptrdiff_t alongX = preparation.transposed ? plane.stride : 1;
    const std::ptrdiff_t alongY = preparation.transposed ? 1 : plane.stride;
    if (preparation.transposed) std::swap(turned.width, turned.height);
    const NewPlane copy = SourceSamples::addPlane(store, result, turned.width, turned.height);
    const std::uint8_t* first = plane.data + (preparation.mirroredX ? alongX * (turned.width - 1) : 0);
    const std::ptrdiff_t step = preparation.mirroredX ? -alongX : alongX;
    inParts(pool, turned.height, [&](int begin, int end) {
      // Small squares: a column of the source stays in the cache until its neighbours are read.
      constexpr int square = 64;
      for (int left = 0; left < turned.width; left += square)
        for (int y = begin; y < end; ++y) {
          const std::uint8_t* from = first + alongY * y;
          std::uint8_t* const to = copy.row(y);
          for (int x = left; x < std::min(turned.width, left + square); ++x) to[x] = from[step * x];
        }
    });
    turned.data = copy.data, turned.stride = copy.stride;
  }
  if (preparation.mirroredY) {
    turned.data += turned.stride * (turned.height - 1);
    turned.stride = -turned.stride;
  }
  return turned;
}

/// A row must be long enough to be read in groups; blurred and halved ones already are.
PlaneGrid laidOutGrid(const Preparation::Group& group, const Preparation& preparation) {
  const auto along = [](const Preparation::Axis& axis, bool mirrored) {
    const AxisMap map = axis.preparedMap();
    return mirrored ? AxisMap{-map.scale, axis.preparedCount() - map.offset} : map;
  };
  const auto& x = preparation.transposed ? group.y : group.x;
  const auto& y = preparation.transposed ? group.x : group.y;
  return {along(x, preparation.mirroredX), along(y, preparation.mirroredY)};
}

/// How much of each sample of a blur's source its shape covers.
class FadedShape {
 public:
  FadedShape(const Preparation& preparation, PlaneGroup group) {
    const auto& [x, y] = preparation.groups[indexOf(group)];
    const auto among = [](const Preparation::Axis& axis) {
      const double scale = std::ldexp(1.0, -axis.blurHalvings);
      return AxisMap{axis.map.scale * scale, (axis.map.offset - axis.range.begin) * scale};
    };
    const AxisMap alongX = among(x), alongY = among(y);
    const auto moved = [&](const Rect& rect) {
      return Rect{alongX.apply(rect.x), alongY.apply(rect.y), alongX.scale * rect.width,
                  alongY.scale * rect.height};
    };
    std::optional<Image::RoundedRect> mask;
    if (preparation.mask)
      mask = {moved(preparation.mask->rect), preparation.mask->radiusX * alongX.scale,
              preparation.mask->radiusY * alongY.scale};
    shape_ = ShapeCoverage(moved(preparation.crop), mask, {-1e6, -1e6, 2e6, 2e6}, 1);
  }

  /// Multiplies values from 0 on.
  void apply(int y, int width, std::int16_t* values) const {
    thread_local std::vector<std::int16_t> each;
    each.resize(std::max(each.size(), static_cast<std::size_t>(width)));
    const auto row = shape_.row(y, 0, width, each.data());
    std::fill(values, values + row.begin, std::int16_t{0});
    const auto multiply = [&](int begin, int end) {
      for (int x = begin; x < end; ++x)
        values[x] =
            static_cast<std::int16_t>((values[x] * each[static_cast<std::size_t>(x)] + (1 << 14)) >> 15);
    };
    multiply(row.begin, row.fullBegin);
    multiply(row.fullEnd, row.end);
    std::fill(values + row.end, values + width, std::int16_t{0});
  }

 private:
  ShapeCoverage shape_;
};

class Blurring {
 public:
  Blurring(BlockStore& store, BandPool& pool, PreparedPicture& result)
      : store_(store), pool_(pool), result_(result) {}

  void run() {
    const Preparation& preparation = result_.preparation;
    const auto* color = std::get_if<SerializableColor>(&preparation.source);
    const auto flat = color ? ColorMath::flat(*color) : ColorMath::FlatColor{};
    const bool fades = preparation.edges == Image::BlurEdges::fading;
    const auto sources = result_.color;
    const auto alphas = result_.alpha;
    for (const PlaneGroup group : planeGroups) {
      const std::optional<FadedShape> shape =
          fades ? std::optional<FadedShape>(std::in_place, preparation, group) : std::nullopt;
      for (std::size_t i = group == PlaneGroup::luma ? 0 : 1; i < (group == PlaneGroup::luma ? 1u : 3u); ++i)
        result_.color[i] =
            blurred(sources[i], group, shape, flat.samples[i] * flat.alpha,
                    ColorMath::toLimited(alphas[0] ? ColorEncoding::Range::limited : result_.range, group));
      if (fades || alphas[0])
        result_.alpha[indexOf(group)] =
            blurred(alphas[indexOf(group)], group, shape, 255 * flat.alpha, {1, 128});
    }
    result_.range = ColorEncoding::Range::limited;
  }

 private:
  /// `otherwise` is the value of all samples where there is no plane.
  SamplePlane blurred(SamplePlane plane, PlaneGroup group, const std::optional<FadedShape>& shape,
                      double otherwise, const ColorMath::RangeChange& change) {
    const auto& axes = result_.preparation.groups[indexOf(group)];
    PlaneBlur::Source source;
    std::array<std::int16_t, 256> table;
    if (plane) {
      plane = halvedTimes(plane, axes.x.blurHalvings, axes.y.blurHalvings, store_, pool_, result_);
      source.width = plane.width, source.height = plane.height;
    } else {
      const auto count = [](const Preparation::Axis& axis) {
        int samples = axis.range.count();
        for (int i = 0; i < axis.blurHalvings; ++i) samples = (samples + 1) / 2;
        return samples;
      };
      source.width = count(axes.x), source.height = count(axes.y);
    }
    for (int i = 0; i < 256; ++i) {
      const double value = plane ? (i - 128) * change.gain + change.middle : otherwise;
      table[static_cast<std::size_t>(i)] =
          static_cast<std::int16_t>(std::lround(std::clamp(value, 0.0, 255.0) * 128));
    }
    const auto values = [&](int y, std::int16_t* row) {
      if (plane)
        std::transform(plane.row(y), plane.row(y) + source.width, row,
                       [&](std::uint8_t sample) { return table[sample]; });
      else
        std::fill_n(row, source.width, table[0]);
      if (shape) shape->apply(y, source.width, row);
    };
    source.values = std::ref(values);  // which allocates nothing
    const NewPlane result = PlaneBlur::blur(source, axes, store_, pool_, result_);
    return {
        result.data, result.stride, source.width + 2 * axes.x.reach, source.height + 2 * axes.y.reach, {}};
  }

  BlockStore& store_;
  BandPool& pool_;
  PreparedPicture& result_;
};

}  // namespace

void prepare(const Preparation& preparation, BlockStore& store, BandPool& pool, PreparedPicture& result) {
  result.preparation = preparation;
  result.color = {};
  result.alpha = {};
  result.range = ColorEncoding::Range::limited;
  if (const auto* picture = std::get_if<PixelBufferRef>(&preparation.source))
    SourceSamples::load(**picture, store, pool, result);
  if (preparation.blurs) Blurring(store, pool, result).run();

  const auto finish = [&](SamplePlane& plane, PlaneGroup group) {
    if (!plane) return;
    const auto& axes = preparation.groups[indexOf(group)];
    plane = halvedTimes(plane, axes.x.halvings, axes.y.halvings, store, pool, result);
    plane = laidOut(plane, preparation, store, pool, result);
    plane.grid = laidOutGrid(axes, preparation);
  };
  finish(result.color[0], PlaneGroup::luma);
  finish(result.alpha[0], PlaneGroup::luma);
  for (std::size_t i = 1; i < 3; ++i) finish(result.color[i], PlaneGroup::chroma);
  finish(result.alpha[1], PlaneGroup::chroma);
}

}  // namespace quillant
