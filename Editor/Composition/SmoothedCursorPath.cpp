#include "Editor/Composition/SmoothedCursorPath.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>

namespace quillant {

namespace {

constexpr double gridStep = 1000.0 / 240;
constexpr double longestTrack = 24 * 3'600'000.0;

/// Falls softly from 1 at 0 to 0 at 1 (the smootherstep, turned over), and stays there.
double bump(double u) {
  if (u >= 1) return 0;
  u = std::max(u, 0.0);
  return 1 - u * u * u * (u * (6 * u - 15) + 10);
}

/// The clicks around a time, as the distances to them.
struct ClickNeighbours {
  std::size_t next;  ///< The first click later than the time; the one before it is at or before the time.
  std::optional<double> sinceBefore;
  std::optional<double> untilAfter;

  ClickNeighbours(const std::vector<double>& clickTimes, double milliseconds) {
    const auto later = std::ranges::upper_bound(clickTimes, milliseconds);
    next = static_cast<std::size_t>(later - clickTimes.begin());
    if (later != clickTimes.begin()) sinceBefore = milliseconds - *std::prev(later);
    if (later != clickTimes.end()) untilAfter = *later - milliseconds;
  }

  /// How much the clicks hold the path to the raw track: 1 at a click, 0 out of reach of any.
  double weight(double reach) const {
    double free = 1;
    if (sinceBefore) free *= 1 - bump(*sinceBefore / reach);
    if (untilAfter) free *= 1 - bump(*untilAfter / reach);
    return 1 - free;
  }
};

/// A spring's pull at a point of the grid.
struct Pull {
  double rate;   ///< a millisecond
  double decay;  ///< over one step of the grid
};

enum class Direction { forward, backward };

/// A critically damped spring that follows the values, solved exactly from each point to the next. It trails
/// them by as much forward as it leads them by backward.
void springPass(std::vector<double>& values, const std::vector<Pull>& pulls, Direction direction) {
  const std::size_t count = values.size();
  const auto index = [&](std::size_t visit) {
    return direction == Direction::forward ? visit : count - 1 - visit;
  };
  double position = values[index(0)];
  double velocity = 0;
  for (std::size_t visit = 1; visit < count; ++visit) {
    double& value = values[index(visit)];
    const auto [rate, decay] = pulls[index(visit)];
    const double distance = position - value;
    const double momentum = velocity + rate * distance;
    position = value + decay * (distance + gridStep * momentum);
    velocity = decay * (velocity - gridStep * rate * momentum);
    value = position;
  }
}

}  // namespace

std::optional<SmoothedCursorPath> SmoothedCursorPath::build(double startMs, double endMs, double smoothing,
                                                            const std::vector<CursorTelemetryClick>& clicks,
                                                            const RawTrack& raw) {
  const double tau = std::min(smoothing, 2.0) * 100;
  const double length = endMs - startMs;
  // A comparison with what is not a number is false as well.
  if (!(tau >= 1) || !(length >= 0 && length <= longestTrack)) return std::nullopt;

  SmoothedCursorPath path{.startMs = startMs, .endMs = endMs, .clickReachMs = 4 * tau};
  std::map<double, Point> clickPoints;
  for (const auto& click : clicks) {
    const auto time = static_cast<double>(click.timestamp);
    if (time >= startMs && time <= endMs)
      clickPoints[time] = {static_cast<double>(click.x), static_cast<double>(click.y)};
  }
  for (const auto& [time, point] : clickPoints) {
    const Point recorded = raw(time);
    path.clickTimes.push_back(time);
    path.clickOffsets.push_back({point.x - recorded.x, point.y - recorded.y});
  }

  const auto count = static_cast<std::size_t>(std::ceil(length / gridStep)) + 1;
  path.xs.resize(count);
  path.ys.resize(count);
  std::vector<Pull> pulls(count);
  for (std::size_t i = 0; i < count; ++i) {
    const double time = std::min(endMs, startMs + static_cast<double>(i) * gridStep);
    const auto [x, y] = raw(time);
    path.xs[i] = x;
    path.ys[i] = y;
    // Near a click the spring is stiff, or the path would leave its corners cut just there.
    const double weight = ClickNeighbours(path.clickTimes, time).weight(path.clickReachMs);
    const double rate = 1 / (tau * (1 - 0.98 * weight));
    pulls[i] = {rate, std::exp(-rate * gridStep)};
  }
  for (auto* values : {&path.xs, &path.ys}) {
    springPass(*values, pulls, Direction::forward);
    springPass(*values, pulls, Direction::backward);
  }
  return path;
}

Point SmoothedCursorPath::point(double milliseconds, Point raw) const {
  const double time = std::clamp(milliseconds, startMs, endMs);
  Point smooth{xs.front(), ys.front()};
  if (xs.size() >= 2) {
    const double place = (time - startMs) / gridStep;
    const auto index = std::min(static_cast<std::size_t>(place), xs.size() - 2);
    const double part = place - static_cast<double>(index);
    smooth = {std::lerp(xs[index], xs[index + 1], part), std::lerp(ys[index], ys[index + 1], part)};
  }
  if (clickTimes.empty()) return smooth;

  const ClickNeighbours clicks(clickTimes, time);
  // Between two clicks each one's pull ends at the other: they never add up at either.
  const double span = clicks.sinceBefore && clicks.untilAfter
                          ? std::min(clickReachMs, *clicks.sinceBefore + *clicks.untilAfter)
                          : clickReachMs;
  const double weight = clicks.weight(clickReachMs);
  Point result{smooth.x + (raw.x - smooth.x) * weight, smooth.y + (raw.y - smooth.y) * weight};
  const auto pull = [&](std::size_t click, double distance) {
    const double strength = bump(distance / span);
    result.x += clickOffsets[click].x * strength;
    result.y += clickOffsets[click].y * strength;
  };
  if (clicks.sinceBefore) pull(clicks.next - 1, *clicks.sinceBefore);
  if (clicks.untilAfter) pull(clicks.next, *clicks.untilAfter);
  return result;
}

}  // namespace quillant
