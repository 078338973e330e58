#include "Editor/Composition/CursorTelemetryTrack.h"

#include <algorithm>
#include <cmath>

#include "Editor/Timeline/SortByStart.h"

namespace quillant {

namespace {

double timeOf(const CursorTelemetrySample& sample) {
  return static_cast<double>(sample.timestamp);
}

Point positionOf(const CursorTelemetrySample& sample) {
  return {static_cast<double>(sample.x), static_cast<double>(sample.y)};
}

/// `milliseconds` brought into the samples' range; there are samples.
double normalizedTimestamp(const std::vector<CursorTelemetrySample>& samples, double milliseconds,
                           bool loops) {
  const double first = timeOf(samples.front()), last = timeOf(samples.back());
  if (!loops || first >= last) return std::clamp(milliseconds, first, last);
  const double remainder = std::fmod(milliseconds - first, last - first);
  return first + (remainder < 0 ? remainder + (last - first) : remainder);
}

/// Reads positions off the samples, between two of them along a straight line. It looks on from where it
/// found the time before, so that times in order cost no search.
class SampleReader {
 public:
  /// There are samples; they outlive the reader.
  explicit SampleReader(const std::vector<CursorTelemetrySample>& samples)
      : samples_(samples), next_(std::next(samples.begin())) {}

  Point operator()(double milliseconds) {
    if (milliseconds <= timeOf(samples_.front())) return positionOf(samples_.front());
    if (milliseconds >= timeOf(samples_.back())) return positionOf(samples_.back());
    seek(milliseconds);
    const auto& before = *std::prev(next_);
    const double part = (milliseconds - timeOf(before)) / (timeOf(*next_) - timeOf(before));
    const Point from = positionOf(before), to = positionOf(*next_);
    return {from.x + (to.x - from.x) * part, from.y + (to.y - from.y) * part};
  }

 private:
  /// Moves on to a time between the first sample's and the last one's.
  void seek(double milliseconds) {
    if (timeOf(*std::prev(next_)) >= milliseconds) next_ = std::next(samples_.begin());
    // Within a few steps for the next point of a grid, by halves for a leap.
    for (int step = 0; step < 4 && timeOf(*next_) < milliseconds; ++step) ++next_;
    if (timeOf(*next_) < milliseconds)
      next_ = std::ranges::lower_bound(next_, samples_.end(), milliseconds, {}, timeOf);
  }

  const std::vector<CursorTelemetrySample>& samples_;
  std::vector<CursorTelemetrySample>::const_iterator next_;  ///< The first not below the last time.
};

}  // namespace

CursorTelemetryTrack::CursorTelemetryTrack(CursorTelemetryPayload payload)
    : width(payload.width),
      height(payload.height),
      samples(std::move(payload.samples)),
      clicks(std::move(payload.clicks)),
      smoothedPaths(std::make_shared<SmoothedCursorPathCache>()) {
  sortByStart(samples, &CursorTelemetrySample::timestamp);
}

std::optional<Point> CursorTelemetryTrack::point(double seconds, bool loops, double smoothing) const {
  if (samples.empty() || !std::isfinite(seconds * 1000)) return std::nullopt;
  const double milliseconds = normalizedTimestamp(samples, seconds * 1000, loops);
  const Point raw = SampleReader(samples)(milliseconds);
  const auto path = smoothedPath(smoothing);
  return path ? path->point(milliseconds, raw) : raw;
}

std::shared_ptr<const SmoothedCursorPath> CursorTelemetryTrack::smoothedPath(double smoothing) const {
  if (samples.empty()) return nullptr;
  // What is not a number is no smoothing.
  const double key = smoothing > 0 ? std::min(smoothing, 2.0) : 0;
  return smoothedPaths->path(key, [&] {
    return SmoothedCursorPath::build(timeOf(samples.front()), timeOf(samples.back()), key, clicks,
                                     SampleReader(samples));
  });
}

std::optional<Point> CursorTelemetryTrack::normalizedPointAtOrBefore(double seconds) const {
  if (samples.empty() || !std::isfinite(seconds)) return std::nullopt;
  const double milliseconds = std::max(seconds * 1000, timeOf(samples.front()));
  const auto next = std::ranges::upper_bound(samples, milliseconds, {}, timeOf);
  const auto& sample = *std::prev(next);
  const auto fraction = [](std::int64_t position, std::int64_t side) {
    return std::clamp(static_cast<double>(position) / static_cast<double>(std::max<std::int64_t>(side, 1)),
                      0.0, 1.0);
  };
  return Point{fraction(sample.x, width), fraction(sample.y, height)};
}

}  // namespace quillant
