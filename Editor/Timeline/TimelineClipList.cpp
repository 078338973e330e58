#include "Editor/Timeline/TimelineClipList.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineClipList {

namespace {

std::optional<std::size_t> indexOf(const Clips& clips, const UUID& id) {
  const auto found = std::ranges::find(clips, id, &TimelineClip::id);
  if (found == clips.end()) return std::nullopt;
  return static_cast<std::size_t>(found - clips.begin());
}

/// The stretch of output of one clip.
TimelineSpan placedAt(const Clips& clips, std::size_t clipIndex) {
  double start = 0;
  for (std::size_t i = 0; i < clipIndex; ++i) start += clips[i].outputLength();
  return {start, start + clips[clipIndex].outputLength()};
}

}  // namespace

double outputDuration(const Clips& clips) {
  double total = 0;
  for (const auto& clip : clips) total += clip.outputLength();
  return total;
}

std::vector<TimelineSpan> placed(const Clips& clips) {
  std::vector<TimelineSpan> spans;
  spans.reserve(clips.size());
  double start = 0;
  for (const auto& clip : clips) {
    spans.push_back({start, start + clip.outputLength()});
    start = spans.back().end;
  }
  return spans;
}

std::optional<std::size_t> index(const Clips& clips, double outputTime) {
  if (clips.empty()) return std::nullopt;
  double start = 0;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    const double end = start + clips[i].outputLength();
    if (start - placingTolerance <= outputTime && outputTime < end - placingTolerance) return i;
    start = end;
  }
  return clips.size() - 1;
}

double sourceTime(const Clips& clips, std::size_t clipIndex, double outputTime) {
  const auto& clip = clips[clipIndex];
  const auto output = placedAt(clips, clipIndex);
  const double into = std::min(std::max(0.0, outputTime - output.start), clip.outputLength());
  return std::max(clip.start, std::min(clip.end, clip.start + into * clip.rate()));
}

std::optional<Clips> split(const Clips& clips, double outputTime) {
  const auto at = index(clips, outputTime);
  if (!at) return std::nullopt;
  const auto output = placedAt(clips, *at);
  if (!isLongEnoughForClip(outputTime - output.start) || !isLongEnoughForClip(output.end - outputTime))
    return std::nullopt;

  const double time = sourceTime(clips, *at, outputTime);
  Clips result;
  result.reserve(clips.size() + 1);
  result.assign(clips.begin(), clips.end());
  auto second = result[*at];
  second.id = UUID::random();
  second.start = time;
  result[*at].end = time;
  result.insert(result.begin() + static_cast<std::ptrdiff_t>(*at) + 1, std::move(second));
  return result;
}

std::optional<Clips> trim(const Clips& clips, const UUID& id, TimelineClipEdge edge, double outputTime) {
  const auto at = indexOf(clips, id);
  if (!at) return std::nullopt;
  const auto output = placedAt(clips, *at);
  const bool leading = edge == TimelineClipEdge::leading;
  const double target = leading
                            ? std::min(output.end - minimumClipLength, std::max(output.start, outputTime))
                            : std::max(std::min(output.end, outputTime), output.start + minimumClipLength);
  if (leading ? !(output.start + timeTolerance < target) : !(target < output.end - timeTolerance))
    return std::nullopt;

  auto result = clips;
  auto& clip = result[*at];
  (leading ? clip.start : clip.end) = clip.start + clip.rate() * (target - output.start);
  return result;
}

std::optional<Clips> deleteOutputRange(const Clips& clips, double from, double to) {
  const double low = std::min(from, to);
  const double high = std::max(from, to);
  if (!(high - low > timeTolerance)) return std::nullopt;

  Clips result;
  result.reserve(clips.size() + 1);
  double start = 0, end = 0;
  for (const auto& clip : clips) {
    start = std::exchange(end, end + clip.outputLength());
    if (!(start + placingTolerance < high && low < end - placingTolerance)) {
      result.push_back(clip);
      continue;
    }
    const bool keepsHead = start + timeTolerance < low;
    if (keepsHead) {
      result.push_back(clip);
      result.back().end = clip.start + (low - start) * clip.rate();
    }
    if (high < end - timeTolerance) {
      result.push_back(clip);
      result.back().start = clip.start + (high - start) * clip.rate();
      if (keepsHead) result.back().id = UUID::random();
    }
  }
  if (result.empty() || result == clips) return std::nullopt;
  return result;
}

std::optional<Clips> setSpeed(const Clips& clips, const UUID& id, double speed) {
  const auto at = indexOf(clips, id);
  const double normalized = TimelineClipSpeed::normalized(speed);
  if (!at || TimelineClipSpeed::normalized(clips[*at].speed) == normalized) return std::nullopt;
  auto result = clips;
  result[*at].speed = normalized;
  return result;
}

std::optional<Clips> delete_(const Clips& clips, const UUID& id) {
  if (clips.size() < 2 || !indexOf(clips, id)) return std::nullopt;
  Clips result;
  result.reserve(clips.size());
  std::ranges::copy_if(clips, std::back_inserter(result), [&](const auto& clip) { return clip.id != id; });
  return result;
}

std::optional<Clips> move(const Clips& clips, const UUID& id, std::int64_t index) {
  const auto at = indexOf(clips, id);
  if (!at) return std::nullopt;
  const auto from = static_cast<std::ptrdiff_t>(*at);
  const auto to = static_cast<std::ptrdiff_t>(
      std::clamp<std::int64_t>(index, 0, static_cast<std::int64_t>(clips.size()) - 1));
  if (from == to) return std::nullopt;

  auto result = clips;
  const auto begin = result.begin();
  if (from < to)
    std::rotate(begin + from, begin + from + 1, begin + to + 1);
  else
    std::rotate(begin + to, begin + from, begin + from + 1);
  return result;
}

}  // namespace quillant::TimelineClipList
