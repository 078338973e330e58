#include "Editor/Composition/TimelineZoomCanvasTransform.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "Editor/Composition/TimelineZoomAnimator.h"
#include "Editor/Composition/TimelineZoomFocusResolver.h"
#include "Editor/Timeline/SortByStart.h"

namespace quillant {

namespace {

/// Output seconds between the end of a zoom and the start of the next that count as none.
constexpr double seamTolerance = 0.002;

/// The numbers 0 up to `count` in the order of what `key` gives for each.
template <class Key>
std::vector<std::size_t> orderedBy(std::size_t count, Key key) {
  std::vector<std::size_t> numbers(count);
  std::iota(numbers.begin(), numbers.end(), std::size_t{0});
  std::ranges::stable_sort(numbers, std::less<>(), key);
  return numbers;
}

double magnification(const TimelineZoomRegion& zoom) {
  return std::max(1.0, zoom.depth);
}

}  // namespace

TimelineZoomCanvasTransform::TimelineZoomCanvasTransform(const TimelineEditSnapshot& edits,
                                                         TimelineExportEditPlan plan)
    : plan_(std::move(plan)) {
  for (const auto& zoom : edits.zoomRegions)
    if (!zoom.source) zooms_.push_back(zoom);
  sortByStart(zooms_, [](const TimelineZoomRegion& zoom) { return zoom.span.start; });
  layOutPieces();
  findNeighbours();
  std::vector<TimelineSpan> spans;
  for (const Piece& piece : pieces_) spans.push_back(piece.span);
  active_ = ActiveSpans(spans);
}

void TimelineZoomCanvasTransform::layOutPieces() {
  using Segment = TimelineExportEditPlan::Segment;
  // Clips stand in any order and may repeat each other: in the plan, source times are not sorted.
  std::vector<const Segment*> bySource;
  for (const Segment& segment : plan_.segments)
    if (!segment.source) bySource.push_back(&segment);
  const auto start = [](const Segment* segment) { return segment->sourceStart; };
  std::ranges::stable_sort(bySource, std::less<>(), start);

  for (std::size_t zoom = 0; zoom < zooms_.size(); ++zoom) {
    const TimelineSpan span = zooms_[zoom].span;
    // The plan is cut where the zoom starts: no segment that starts before reaches into it.
    auto segment = std::ranges::lower_bound(bySource, span.start, std::less<>(), start);
    for (; segment != bySource.end() && start(*segment) < span.end; ++segment)
      if (const auto played = (*segment)->outputSpan(span))
        pieces_.push_back({.zoom = zoom, .span = *played, .predecessor = std::nullopt});
  }
}

void TimelineZoomCanvasTransform::findNeighbours() {
  const auto start = [&](std::size_t i) { return pieces_[i].span.start; };
  const auto end = [&](std::size_t i) { return pieces_[i].span.end; };
  const auto byStart = orderedBy(pieces_.size(), start);
  const auto byEnd = orderedBy(pieces_.size(), end);
  // A search with a margin; what is within the tolerance is then decided by one comparison.
  const auto others = [&](const auto& sorted, auto edge, double time, const Piece& piece, auto visit) {
    auto i = std::ranges::lower_bound(sorted, time - 2 * seamTolerance, std::less<>(), edge);
    for (; i != sorted.end() && edge(*i) <= time + 2 * seamTolerance; ++i)
      if (std::abs(edge(*i) - time) <= seamTolerance && zooms_[pieces_[*i].zoom].id != zooms_[piece.zoom].id)
        visit(*i);
  };
  for (Piece& piece : pieces_) {
    std::optional<std::size_t> predecessor;
    others(byEnd, end, piece.span.start, piece,
           [&](std::size_t i) { predecessor = std::max(predecessor.value_or(0), i); });
    if (predecessor) piece.predecessor = pieces_[*predecessor].zoom;
    others(byStart, start, piece.span.end, piece, [&](std::size_t) { piece.hasSuccessor = true; });
  }
}

std::optional<TimelineZoomEffect> TimelineZoomCanvasTransform::activeEffect(
    double outputTime, const CursorTelemetryTrack* cursorTrack) const {
  if (!std::isfinite(outputTime)) return std::nullopt;
  const auto active = active_.at(outputTime);
  if (!active) return std::nullopt;
  const Piece* piece = &pieces_[*active];

  using namespace TimelineZoomAnimator;
  const auto& zoom = zooms_[piece->zoom];
  const auto configuration = resolvedConfiguration(zoom);
  const auto [start, end] = piece->span;
  const double depth = magnification(zoom);
  const double sourceTime = plan_.sourceTime(outputTime).value_or(outputTime);
  const auto focus = [&](const TimelineZoomRegion& of, double scale) {
    return TimelineZoomFocusResolver::focus(of, sourceTime, scale, cursorTrack);
  };

  const double rampIn = rampLength(configuration.easeIn, piece->span.length());
  if (piece->predecessor && rampIn > 0 && outputTime < start + rampIn) {
    const auto& before = zooms_[*piece->predecessor];
    const double amount = eased(configuration.easing, (outputTime - start) / rampIn);
    const double scale = magnification(before) + amount * (depth - magnification(before));
    const Point from = focus(before, scale);
    const Point to = focus(zoom, scale);
    return TimelineZoomEffect{scale, from.x + amount * (to.x - from.x), from.y + amount * (to.y - from.y)};
  }
  const double rampOut = rampLength(configuration.easeOut, piece->span.length());
  const bool handsOver = piece->hasSuccessor && outputTime > end - rampOut;
  const double progress = handsOver ? 1 : animationProgress(piece->span, configuration, outputTime);
  const double scale = 1 + (depth - 1) * progress;
  const Point at = focus(zoom, scale);
  return TimelineZoomEffect{scale, at.x, at.y};
}

}  // namespace quillant
