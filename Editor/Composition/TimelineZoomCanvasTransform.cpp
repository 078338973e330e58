#include "Editor/Composition/TimelineZoomCanvasTransform.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <queue>

#include "Editor/Composition/TimelineZoomAnimator.h"
#include "Editor/Composition/TimelineZoomFocusResolver.h"
#include "Editor/Timeline/SortByStart.h"

namespace quillant {

namespace {

/// Output seconds between the end of a zoom and the start of the next that count as none.
constexpr double seamTolerance = 0.002;

/// Finds the segments of the main recording that overlap a source span. Clips stand in any order and may
/// repeat each other, so neither their starts nor their ends are sorted in the plan.
class SourceIndex {
 public:
  explicit SourceIndex(const std::vector<TimelineExportEditPlan::Segment>& segments) : segments_(segments) {
    for (std::size_t i = 0; i < segments.size(); ++i)
      if (!segments[i].source) byStart_.push_back(i);
    std::ranges::stable_sort(byStart_, std::less<>(), [&](std::size_t i) { return segments[i].sourceStart; });
    double end = -std::numeric_limits<double>::infinity();
    for (const std::size_t i : byStart_) {
      end = std::max(end, segments[i].sourceEnd);
      reached_.push_back(end);
    }
  }

  /// What is played of the span, in output order.
  std::vector<TimelineSpan> outputSpans(TimelineSpan sourceSpan) const {
    // Up to the first that ends past the span's start none overlaps it, nor from the first that starts past
    // its end.
    const auto first = std::ranges::upper_bound(reached_, sourceSpan.start) - reached_.begin();
    const auto last = std::ranges::lower_bound(byStart_, sourceSpan.end, std::less<>(),
                                               [&](std::size_t i) { return segments_[i].sourceStart; });
    std::vector<TimelineSpan> spans;
    for (auto i = byStart_.begin() + first; i < last; ++i)
      if (const auto span = segments_[*i].outputSpan(sourceSpan)) spans.push_back(*span);
    std::ranges::sort(spans, std::less<>(), &TimelineSpan::start);
    return spans;
  }

 private:
  const std::vector<TimelineExportEditPlan::Segment>& segments_;
  std::vector<std::size_t> byStart_;
  std::vector<double> reached_;  ///< The farthest end up to each of `byStart_`.
};

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
  findChanges();
}

void TimelineZoomCanvasTransform::layOutPieces() {
  const SourceIndex index(plan_.segments);
  for (std::size_t zoom = 0; zoom < zooms_.size(); ++zoom)
    for (const TimelineSpan span : index.outputSpans(zooms_[zoom].span))
      pieces_.push_back({.zoom = zoom, .span = span, .predecessor = std::nullopt});
}

void TimelineZoomCanvasTransform::findNeighbours() {
  std::vector<std::size_t> byStart(pieces_.size());
  for (std::size_t i = 0; i < pieces_.size(); ++i) byStart[i] = i;
  auto byEnd = byStart;
  const auto start = [&](std::size_t i) { return pieces_[i].span.start; };
  const auto end = [&](std::size_t i) { return pieces_[i].span.end; };
  std::ranges::sort(byStart, std::less<>(), start);
  std::ranges::sort(byEnd, std::less<>(), end);
  // A search with room to spare; what is within the tolerance is then told by one comparison.
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

void TimelineZoomCanvasTransform::findChanges() {
  std::vector<double> times;
  std::vector<std::size_t> byStart(pieces_.size());
  for (std::size_t i = 0; i < pieces_.size(); ++i) {
    byStart[i] = i;
    times.push_back(pieces_[i].span.start);
    times.push_back(pieces_[i].span.end);
  }
  std::ranges::sort(times);
  times.erase(std::ranges::unique(times).begin(), times.end());
  std::ranges::sort(byStart, std::less<>(), [&](std::size_t i) { return pieces_[i].span.start; });

  std::priority_queue<std::size_t> showing;
  auto next = byStart.begin();
  for (const double time : times) {
    for (; next != byStart.end() && pieces_[*next].span.start <= time; ++next) showing.push(*next);
    while (!showing.empty() && pieces_[showing.top()].span.end <= time) showing.pop();
    changes_.push_back({time, showing.empty() ? std::nullopt : std::optional(showing.top())});
  }
}

const TimelineZoomCanvasTransform::Piece* TimelineZoomCanvasTransform::activePiece(double outputTime) const {
  const auto next = std::ranges::upper_bound(changes_, outputTime, std::less<>(), &Change::start);
  if (next == changes_.begin() || !std::prev(next)->piece) return nullptr;
  return &pieces_[*std::prev(next)->piece];
}

std::optional<TimelineZoomEffect> TimelineZoomCanvasTransform::activeEffect(
    double outputTime, const CursorTelemetryTrack* cursorTrack) const {
  if (!std::isfinite(outputTime)) return std::nullopt;
  const Piece* piece = activePiece(outputTime);
  if (piece == nullptr) return std::nullopt;

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
