#include "DrawKit/Rendering/SourceSamples.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "DrawKit/Rendering/AxisFilter.h"
#include "DrawKit/Rendering/ColorMath.h"
#include "DrawKit/Rendering/FilteredRows.h"

namespace quillant::SourceSamples {

namespace {

using Ranges = Preparation::Group;

SamplePlane view(const NewPlane& plane, const Ranges& ranges) {
  return {plane.data, plane.stride, ranges.x.range.count(), ranges.y.range.count(), {}};
}

void narrow(const std::uint8_t* source, std::uint8_t* result, int count) {
  for (int i = 0; i < count; ++i) {
    std::uint16_t sample;
    std::memcpy(&sample, source + 2 * i, sizeof sample);
    result[i] = static_cast<std::uint8_t>(std::min(255, (sample + 2) >> 2));
  }
}

SamplePlane loadPlane(const PixelBuffer& source, std::size_t plane, const Ranges& ranges, BlockStore& store,
                      BandPool& pool, PreparedPicture& result) {
  const auto& [data, stride] = source.planes[plane];
  const bool words = PlaneGrids::hasTenBits(source.format);
  const int width = ranges.x.range.count();
  const std::uint8_t* first =
      data + std::ptrdiff_t{stride} * ranges.y.range.begin + ranges.x.range.begin * (words ? 2 : 1);
  if (!words && width >= RowKernels::groupReach) return {first, stride, width, ranges.y.range.count(), {}};
  const NewPlane copy = addPlane(store, result, width, ranges.y.range.count());
  inParts(pool, ranges.y.range.count(), [&, from = first, pitch = stride](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      const std::uint8_t* row = from + std::ptrdiff_t{pitch} * y;
      if (words)
        narrow(row, copy.row(y), width);
      else
        std::copy_n(row, width, copy.row(y));
    }
  });
  return view(copy, ranges);
}

void loadBGRA(const PixelBuffer& source, BlockStore& store, BandPool& pool, PreparedPicture& result) {
  const Ranges& ranges = result.preparation.groups[0];
  const auto& [data, stride] = source.planes[0];
  const auto rowAt = [&, from = data, pitch = stride](int y) {
    return from + std::ptrdiff_t{pitch} * (y + ranges.y.range.begin) + 4 * ranges.x.range.begin;
  };
  const int width = ranges.x.range.count(), height = ranges.y.range.count();
  bool opaque = source.format == PixelFormat::bgra;
  if (!opaque) {
    opaque = true;
    for (int y = 0; y < height && opaque; ++y)
      for (int x = 0; x < width && opaque; ++x) opaque = rowAt(y)[4 * x + 3] == 255;
  }
  std::array<NewPlane, 4> planes;
  for (std::size_t i = 0; i < (opaque ? 3u : 4u); ++i) planes[i] = addPlane(store, result, width, height);
  inParts(pool, height, [&](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      const std::uint8_t* pixel = rowAt(y);
      for (int x = 0; x < width; ++x, pixel += 4) {
        const auto samples =
            ColorMath::fromPremultiplied(pixel[2], pixel[1], pixel[0], opaque ? 255 : pixel[3]);
        for (std::size_t i = 0; i < 3; ++i) planes[i].row(y)[x] = samples[i];
        if (!opaque) planes[3].row(y)[x] = pixel[3];
      }
    }
  });
  for (std::size_t i = 0; i < 3; ++i) result.color[i] = view(planes[i], ranges);
  if (!opaque) result.alpha[0] = result.alpha[1] = view(planes[3], ranges);
}

/// BT.601 to BT.709: chroma comes to the places of the luma, and what is made has the limited range.
void convertMatrix(const PixelBuffer& source, BlockStore& store, BandPool& pool, PreparedPicture& result) {
  const Ranges& luma = result.preparation.groups[0];
  const PlaneGrid chroma = PlaneGrids::of(PlaneGroup::chroma, source.format, source.color);
  const SamplePlane y = result.color[0];
  std::array<NewPlane, 3> planes;
  for (NewPlane& plane : planes) plane = addPlane(store, result, y.width, y.height);

  // A chroma plane's own samples begin at 0 here: the whole of it was loaded.
  const auto placement = [](const AxisMap& map, const Preparation::Range& range, int count) {
    return AxisPlacement{map.scale, map.apply(range.begin), count};
  };
  ColumnFilter columns;
  columns.set(placement(chroma.x, luma.x.range, result.color[1].width), 0, y.width);
  const AxisPlacement rows = placement(chroma.y, luma.y.range, result.color[1].height);
  const ColorMath::MatrixChange change(source.color.range);
  inParts(pool, y.height, [&](int begin, int end) {
    FilteredRows filtered[2];
    for (std::size_t i = 0; i < 2; ++i) filtered[i].open(result.color[i + 1], columns, 0, y.width);
    for (int line = begin; line < end; ++line) {
      for (std::size_t i = 0; i < 2; ++i) {
        const RowTaps taps = ColorMath::weighted(rowTaps(rows, line));
        filtered[i].combine(taps, 0, y.width, planes[i + 1].row(line));
      }
      change.apply(y.row(line), planes[0].row(line), planes[1].row(line), planes[2].row(line), y.width);
    }
  });
  for (std::size_t i = 0; i < 3; ++i) result.color[i] = view(planes[i], luma);
  result.range = ColorEncoding::Range::limited;
}

}  // namespace

NewPlane addPlane(BlockStore& store, PreparedPicture& result, int width, int height) {
  const std::ptrdiff_t stride = (std::max(width, RowKernels::groupReach) + 31) & ~31;
  auto block = store.take(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
  const NewPlane plane{block.bytes.get(), stride};
  result.blocks.push_back(std::move(block));
  return plane;
}

void load(const PixelBuffer& source, BlockStore& store, BandPool& pool, PreparedPicture& result) {
  if (!PlaneGrids::isPlanar(source.format)) return loadBGRA(source, store, pool, result);
  const auto& groups = result.preparation.groups;
  result.range = source.color.range;
  result.color[0] = loadPlane(source, 0, groups[0], store, pool, result);
  const bool converts = source.color.matrix == ColorEncoding::Matrix::bt601;
  Ranges chroma = groups[1];
  if (converts) {
    const PlaneGrid grid = PlaneGrids::of(PlaneGroup::chroma, source.format, source.color);
    chroma.x.range = {0, grid.x.scale == 1 ? source.width : (source.width + 1) / 2};
    chroma.y.range = {0, grid.y.scale == 1 ? source.height : (source.height + 1) / 2};
  }
  for (std::size_t i = 1; i < 3; ++i) result.color[i] = loadPlane(source, i, chroma, store, pool, result);
  if (converts) convertMatrix(source, store, pool, result);
}

}  // namespace quillant::SourceSamples
