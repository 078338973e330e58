#include "Editor/Timeline/AutoZoomGenerator.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <optional>
#include <span>
#include <utility>

#include "Core/Geometry.h"
#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineZoomAnimationConfiguration.h"

namespace quillant::AutoZoomGenerator {

namespace {

using Configuration = TimelineZoomAnimationConfiguration;

// Times are milliseconds in 64-bit floats: exact for any recording, and no sum of a hostile file's integers
// overflows.

struct Sample {
  Point position;  ///< Region points.
  double time;
};

struct Click {
  Point position;
  double time;
  std::int64_t timestamp;  ///< As recorded.
  bool isMultiple;         ///< The second click of a double click, or a later one.
};

struct ZoomCandidate {
  double start;
  Point focus;  ///< Fractions of the picture, inside the preset's bounds.
  double end;
  double confidence;
  std::optional<std::int64_t> sourceClickTimestamp;
};

Point positionOf(const auto& entry) {
  return {static_cast<double>(entry.x), static_cast<double>(entry.y)};
}

std::vector<Sample> sortedSamples(const CursorTelemetryPayload& payload) {
  std::vector<Sample> samples;
  samples.reserve(payload.samples.size());
  for (const auto& sample : payload.samples)
    if (sample.timestamp >= 0) samples.push_back({positionOf(sample), static_cast<double>(sample.timestamp)});
  sortByStart(samples, &Sample::time);
  return samples;
}

std::vector<Click> sortedClicks(const CursorTelemetryPayload& payload) {
  std::vector<Click> clicks;
  for (const auto& click : payload.clicks)
    if (click.timestamp >= 0)
      clicks.push_back(
          {positionOf(click), static_cast<double>(click.timestamp), click.timestamp, click.clickCount >= 2});
  sortByStart(clicks, &Click::timestamp);
  return clicks;
}

/// Each click is compared with the one before it, so a cluster can run on for longer than the window.
std::vector<std::span<const Click>> clusteredClicks(std::span<const Click> clicks,
                                                    double mergeThresholdSeconds) {
  std::vector<std::span<const Click>> clusters;
  std::size_t first = 0;
  for (std::size_t next = 1; next <= clicks.size(); ++next) {
    const bool joins =
        next < clicks.size() && (clicks[next].time - clicks[next - 1].time) / 1000 <= mergeThresholdSeconds;
    if (joins) continue;
    clusters.push_back(clicks.subspan(first, next - first));
    first = next;
  }
  return clusters;
}

/// The samples of `from <= time <= to`.
std::span<const Sample> samplesBetween(std::span<const Sample> samples, double from, double to) {
  const auto first = std::ranges::lower_bound(samples, from, std::less<>(), &Sample::time);
  const auto last = std::ranges::upper_bound(first, samples.end(), to, std::less<>(), &Sample::time);
  return {first, last};
}

/// How much a click deserves a zoom, and until when what followed it is worth seeing.
struct Judgement {
  double score;
  double end;
};

Judgement judged(const Click& click, std::span<const Sample> samples, Size picture) {
  const auto post = samplesBetween(samples, click.time + 80, click.time + 2000);
  if (post.empty()) return {click.isMultiple ? 0.82 : 0.55, click.time};
  const double last = post.back().time;
  if (click.isMultiple) return {0.88, last};

  double sumX = 0;
  double sumY = 0;
  double maxDistance = 0;
  for (const Sample& sample : post) {
    const double dx = std::abs(sample.position.x - click.position.x) / picture.width;
    const double dy = std::abs(sample.position.y - click.position.y) / picture.height;
    sumX += dx;
    sumY += dy;
    maxDistance = std::max(maxDistance, std::hypot(dx, dy));
  }
  // Along a line of text, or a slider.
  if (sumX > 0.06 && sumY * 1.8 < sumX) return {0.86, last};
  // Down a menu or a list that the click opened; upward is no such sign.
  const double descent = (post.back().position.y - click.position.y) / picture.height;
  if (descent > 0.035 && sumX * 1.35 < sumY) return {0.78, last};
  // The pointer rests while the eye reads.
  if (maxDistance < 0.018) return {0.70, std::min(click.time + 900, last)};
  // It leaves: whatever was clicked is done with.
  if (post.size() >= 3 && maxDistance > 0.16) return {0.38, last};
  return {0.64, std::min(click.time + 700, last)};
}

Point clampedFocus(Point focus, const Configuration& configuration) {
  return {configuration.clampedFocus(focus.x), configuration.clampedFocus(focus.y)};
}

ZoomCandidate clickCandidate(std::span<const Click> cluster, std::span<const Sample> samples, Size picture,
                             const Configuration& configuration) {
  const Click& last = cluster.back();
  ZoomCandidate candidate{.start = cluster.front().time,
                          .focus = {},
                          .end = last.time,
                          .confidence = 0,
                          .sourceClickTimestamp = last.timestamp};
  double best = 0;
  for (const Click& click : cluster) {
    const auto [score, end] = judged(click, samples, picture);
    if (best <= score) {
      best = score;
      candidate.focus = {click.position.x / picture.width, click.position.y / picture.height};
      candidate.end = std::max(end, click.time);
    } else {
      candidate.end = std::max(end, candidate.end);
    }
  }
  const double bonus = std::min(static_cast<double>(cluster.size() - 1) * 0.06, 0.18);
  candidate.confidence = std::min(best + bonus, 1.0);
  candidate.focus = clampedFocus(candidate.focus, configuration);
  return candidate;
}

/// A zoom for a stretch of movement without clicks: small enough to fit the zoomed picture, and neither rest
/// nor travel. `positions` are fractions of the picture; `steps[i]` is the way from sample i to the next.
std::optional<ZoomCandidate> cursorActivityCandidate(std::span<const Sample> samples,
                                                     std::span<const double> steps,
                                                     const Configuration& configuration) {
  if (samples.size() < 8) return std::nullopt;
  const double duration = samples.back().time - samples.front().time;
  if (duration < 900) return std::nullopt;
  double path = 0;
  for (const double step : steps.first(samples.size() - 1)) {
    path += step;
    if (path > 0.75) return std::nullopt;
  }
  if (!(path >= 0.018)) return std::nullopt;

  const auto [left, right] = std::ranges::minmax(samples, {}, [](const Sample& s) { return s.position.x; });
  const auto [top, bottom] = std::ranges::minmax(samples, {}, [](const Sample& s) { return s.position.y; });
  const double rangeX = right.position.x - left.position.x;
  const double rangeY = bottom.position.y - top.position.y;
  double confidence = 0;
  if (rangeY >= 0.055 && rangeY <= 0.32 && rangeX <= 0.12)
    confidence = duration >= 1200 ? 0.68 : std::min(duration / 10000 + 0.56, 1.0);
  else if (std::max(rangeX, rangeY) <= 0.13)
    confidence = duration >= 1200 ? 0.54 : std::min(duration / 10000 + 0.42, 1.0);
  else
    return std::nullopt;
  const Point middle{left.position.x + rangeX / 2, top.position.y + rangeY / 2};
  return ZoomCandidate{.start = samples.front().time,
                       .focus = clampedFocus(middle, configuration),
                       .end = samples.back().time,
                       .confidence = confidence,
                       .sourceClickTimestamp = std::nullopt};
}

/// Slides a window of 2.2 seconds over the track, and leaves alone what lies within half a second of a click.
void appendActivityCandidates(std::vector<ZoomCandidate>& candidates, std::vector<Sample> samples,
                              std::span<const Click> clicks, Size picture,
                              const Configuration& configuration) {
  std::vector<double> steps(samples.size());
  for (auto& sample : samples) {
    sample.position.x /= picture.width;
    sample.position.y /= picture.height;
  }
  for (std::size_t i = 1; i < samples.size(); ++i)
    steps[i - 1] = std::hypot(samples[i].position.x - samples[i - 1].position.x,
                              samples[i].position.y - samples[i - 1].position.y);

  std::size_t end = 0;
  for (std::size_t first = 0; first < samples.size();) {
    while (end < samples.size() && samples[end].time - samples[first].time < 2201) ++end;
    const auto window = std::span<const Sample>(samples).subspan(first, end - first);
    const auto click =
        std::ranges::lower_bound(clicks, window.front().time - 500, std::less<>(), &Click::time);
    const bool nearClick = click != clicks.end() && click->time <= window.back().time + 500;
    const auto candidate =
        nearClick ? std::nullopt
                  : cursorActivityCandidate(window, std::span(steps).subspan(first), configuration);
    if (candidate) candidates.push_back(*candidate);
    first = candidate ? end : first + 4;
  }
}

std::vector<TimelineZoomRegion> regions(std::span<const ZoomCandidate> candidates, double duration,
                                        TimelineZoomAnimationPreset preset,
                                        const Configuration& configuration) {
  std::vector<TimelineZoomRegion> result;
  for (const auto& candidate : candidates) {
    double start = std::max(candidate.start / 1000 - configuration.leadIn, 0.0);
    const double end = std::min(candidate.end / 1000 + configuration.tail, duration);
    if (!result.empty()) start = std::max(start, result.back().span.end + configuration.minimumGap);
    if (end - start < configuration.minimumSpan) continue;
    result.push_back({.id = UUID::random(),
                      .span = TimelineSpan{start, end}.normalized(duration, configuration.minimumSpan),
                      .depth = configuration.zoomDepth,
                      .focusX = candidate.focus.x,
                      .focusY = candidate.focus.y,
                      .mode = TimelineZoomMode::auto_,
                      .animationPreset = preset,
                      .sourceClickTimestamp = candidate.sourceClickTimestamp});
  }
  return result;
}

}  // namespace

std::vector<TimelineZoomRegion> generate(const CursorTelemetryPayload& payload, double duration,
                                         TimelineZoomAnimationPreset preset) {
  if (!isValidDuration(duration) || payload.width < 1 || payload.height < 1) return {};
  const auto& configuration = Configuration::of(preset);
  const Size picture{static_cast<double>(payload.width), static_cast<double>(payload.height)};
  const auto clicks = sortedClicks(payload);
  const auto samples = sortedSamples(payload);

  std::vector<ZoomCandidate> candidates;
  for (const auto cluster : clusteredClicks(clicks, configuration.clickMergeWindow))
    candidates.push_back(clickCandidate(cluster, samples, picture, configuration));
  if (preset == TimelineZoomAnimationPreset::guided && samples.size() >= 8) {
    // Movement on a picture one point wide has no shape to be a fraction of.
    const Size extent = payload.width < 2 ? Size{1, 1} : picture;
    appendActivityCandidates(candidates, samples, clicks, extent, configuration);
  }

  std::erase_if(candidates, [&](const ZoomCandidate& candidate) {
    return candidate.confidence < configuration.minimumConfidence;
  });
  std::ranges::stable_sort(candidates, [](const ZoomCandidate& a, const ZoomCandidate& b) {
    return std::pair(a.start, a.end) < std::pair(b.start, b.end);
  });
  return regions(candidates, duration, preset, configuration);
}

}  // namespace quillant::AutoZoomGenerator
