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
    below_.resize(std::max(below_.size(), static_cast<std::size_t>(right)));
    if (const auto& alpha = picture->alpha[static_cast<std::size_t>(which)])
      planes_[alphaPlane].open(alpha, group.columns, left, right);
  }
  for (int y = area.y >> shift; y < (area.y + area.height) >> shift; ++y)
    drawRow(layer, which, y, left, right, frame);
}

void BandPainter::drawRow(const LayerPlan& layer, PlaneGroup which, int y, int left, int right,
                          const PixelBuffer& frame) {
  const CoverageRows& coverage = layer.group(which).coverage;
  const auto& row = coverage.at(y);
  const int begin = std::max(row.begin, left), end = std::min(row.end, right);
  if (begin >= end) return;
  // Calls `draw` for the stretches that are covered each by its own share, alike, and again each by its own.
  const auto inStretches = [&](const auto& draw) {
    const auto stretch = [&](int from, int to, const std::int16_t* each) {
      const int first = std::max(from, begin), last = std::min(to, end);
      if (first >= last) return;
      draw(first, last, each ? Coverage{each + (first - from)} : Coverage{nullptr, coverage.opacity()});
    };
    stretch(row.begin, row.fullBegin, coverage.before(y));
    stretch(row.fullBegin, row.fullEnd, nullptr);
    stretch(row.fullEnd, row.end, coverage.after(y));
  };
  const auto isWhole = [](Coverage part) { return !part.each && part.all == Coverage::full; };

  const auto* picture = layer.picture();
  const RowTaps* taps = picture ? &layer.group(which).rows.at(y) : nullptr;
  const bool transparent = picture && picture->alpha[static_cast<std::size_t>(which)];
  const std::uint8_t* alpha = transparent ? planes_[alphaPlane].samples(*taps, begin, end) : nullptr;
  for (std::size_t plane = planesOf(which).first; plane < planesOf(which).end; ++plane) {
    std::uint8_t* const target = rowOf(frame, plane, y);
    if (!picture) {
      inStretches([&, value = layer.color().samples[plane]](int from, int to, Coverage part) {
        if (isWhole(part))
          std::memset(target + from, value, static_cast<std::size_t>(to - from));
        else
          RowKernels::blendValue(value, part, target + from, to - from);
      });
    } else if (alpha) {
      const std::uint8_t* const samples = planes_[plane].samples(*taps, begin, end);
      inStretches([&](int from, int to, Coverage part) {
        const int at = from - begin;
        RowKernels::blendPremultiplied(samples + at, alpha + at, part, target + from, to - from);
      });
    } else {
      // All is drawn over, and then blended with what was below where it is not covered whole.
      inStretches([&](int from, int to, Coverage part) {
        if (!isWhole(part))
          std::memcpy(below_.data() + from, target + from, static_cast<std::size_t>(to - from));
      });
      planes_[plane].combine(*taps, begin, end, target + begin);
      inStretches([&](int from, int to, Coverage part) {
        if (isWhole(part)) return;
        RowKernels::blend(target + from, part, below_.data() + from, to - from);
        std::memcpy(target + from, below_.data() + from, static_cast<std::size_t>(to - from));
      });
    }
  }
}

}  // namespace quillant
