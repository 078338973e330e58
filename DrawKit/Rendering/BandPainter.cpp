#include "DrawKit/Rendering/BandPainter.h"

#include <algorithm>
#include <cstring>

namespace quillant {

namespace {

using RowKernels::Coverage;

constexpr std::size_t alphaPlane = 3;

struct PlaneSpan {
  std::size_t first;
  std::size_t end;
};

/// The planes of a frame that share a grid.
constexpr PlaneSpan planesOf(PlaneGroup which) {
  return which == PlaneGroup::luma ? PlaneSpan{0, 1} : PlaneSpan{1, 3};
}

constexpr int shiftOf(PlaneGroup which) {
  return which == PlaneGroup::luma ? 0 : 1;
}

std::uint8_t* rowOf(const PixelBuffer& frame, std::size_t plane, int y) {
  return frame.planes[plane].data + std::ptrdiff_t{frame.planes[plane].stride} * y;
}

}  // namespace

void BandPainter::draw(const LayerPlan& layer, const PixelRect& area, const PixelBuffer& frame) {
  const auto width = static_cast<std::size_t>(area.width);
  for (auto& row : row_)
    if (row.size() < width) row.resize(width);
  if (coverage_.size() < width) coverage_.resize(width);
  for (const PlaneGroup which : planeGroups) drawGroup(layer, which, area, frame);
}

void BandPainter::drawGroup(const LayerPlan& layer, PlaneGroup which, const PixelRect& area,
                            const PixelBuffer& frame) {
  const int shift = shiftOf(which);
  const int left = area.x >> shift, right = (area.x + area.width) >> shift;
  const auto& group = layer.group(which);
  if (const auto* picture = layer.picture()) {
    for (std::size_t plane = planesOf(which).first; plane < planesOf(which).end; ++plane)
      planes_[plane].open(picture->color[plane], group.columns, left, right);
    if (const auto& alpha = picture->alpha[static_cast<std::size_t>(which)])
      planes_[alphaPlane].open(alpha, group.columns, left, right);
  }
  const int top = area.y >> shift;
  ShapeCoverage::Row row;
  for (int y = top; y < (area.y + area.height) >> shift; ++y) {
    if (y == top || !group.coverage.repeats(y)) row = group.coverage.row(y, left, right, coverage_.data());
    const auto each = [&](int begin) { return Coverage{coverage_.data() + (begin - left)}; };
    drawSpan(layer, which, y, {row.begin, row.fullBegin, each(row.begin)}, frame);
    drawSpan(layer, which, y, {row.fullBegin, row.fullEnd, {nullptr, group.coverage.opacity()}}, frame);
    drawSpan(layer, which, y, {row.fullEnd, row.end, each(row.fullEnd)}, frame);
  }
}

const std::uint8_t* BandPainter::samples(std::size_t plane, const RowTaps& taps, int begin, int end) {
  std::uint8_t* const row = row_[plane == alphaPlane ? 1 : 0].data();
  planes_[plane].combine(taps, begin, end, row);
  return row;
}

void BandPainter::drawSpan(const LayerPlan& layer, PlaneGroup which, int y, const Span& span,
                           const PixelBuffer& frame) {
  const auto& [begin, end, coverage] = span;
  const int count = end - begin;
  if (count <= 0) return;
  const bool whole = !coverage.each && coverage.all == Coverage::full;
  const auto* picture = layer.picture();
  const std::uint8_t* alpha = nullptr;
  const RowTaps* taps = picture ? &layer.group(which).rows.at(y) : nullptr;
  if (picture && picture->alpha[static_cast<std::size_t>(which)])
    alpha = samples(alphaPlane, *taps, begin, end);
  for (std::size_t plane = planesOf(which).first; plane < planesOf(which).end; ++plane) {
    std::uint8_t* const target = rowOf(frame, plane, y) + begin;
    if (!picture) {
      const std::uint8_t value = layer.color().samples[plane];
      if (whole)
        std::memset(target, value, static_cast<std::size_t>(count));
      else
        RowKernels::blendValue(value, coverage, target, count);
    } else if (alpha) {
      RowKernels::blendPremultiplied(samples(plane, *taps, begin, end), alpha, coverage, target, count);
    } else if (whole) {
      planes_[plane].combine(*taps, begin, end, target);
    } else {
      RowKernels::blend(samples(plane, *taps, begin, end), coverage, target, count);
    }
  }
}

}  // namespace quillant
