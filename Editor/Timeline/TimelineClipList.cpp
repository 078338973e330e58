#include "Editor/Timeline/TimelineClipList.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineClipSegment.h"
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

/// How far clips may run into each other or over the ends of the recording and still be in source order.
constexpr double fitTolerance = 0.0005;

/// What is cut out, in order and without overlaps, so that one pass over the segments meets each cut once.
std::vector<TimelineSpan> cuts(const std::vector<TimelineTrimRegion>& trimRegions, double duration) {
  std::vector<TimelineSpan> spans;
  spans.reserve(trimRegions.size());
  for (const auto& trim : trimRegions) {
    const TimelineSpan span = {std::min(std::max(0.0, trim.span.start), duration),
                               std::min(std::max(0.0, trim.span.end), duration)};
    if (span.length() >= timeTolerance) spans.push_back(span);
  }
  sortByStart(spans, &TimelineSpan::start);

  std::vector<TimelineSpan> joined;
  joined.reserve(spans.size());
  for (const auto& span : spans) {
    if (!joined.empty() && span.start <= joined.back().end)
      joined.back().end = std::max(joined.back().end, span.end);
    else
      joined.push_back(span);
  }
  return joined;
}

bool runsInSourceOrder(const Clips& clips, double duration) {
  double earliest = -fitTolerance;
  for (const auto& clip : clips) {
    if (!(clip.start >= earliest && clip.end >= clip.start)) return false;
    earliest = clip.end - fitTolerance;
  }
  return clips.back().end <= duration + fitTolerance;
}

bool hasChoicesOfItsOwn(const TimelineClip& clip) {
  return clip.source || clip.sound || clip.cameraHidden || clip.cameraFullScreen;
}

/// Where clips begin and end inside the recording.
std::vector<double> boundaries(const Clips& clips, double duration) {
  std::vector<double> times;
  times.reserve(clips.size() * 2);
  for (const auto& clip : clips)
    for (const double time : {clip.start, clip.end})
      if (time > timeTolerance && time < duration - timeTolerance) times.push_back(time);
  std::ranges::sort(times);

  std::vector<double> kept;
  for (const double time : times)
    if (kept.empty() || time - kept.back() > timeTolerance) kept.push_back(time);
  return kept;
}

std::vector<TimelineTrimRegion> gaps(const Clips& clips, double duration) {
  std::vector<TimelineTrimRegion> regions;
  double cursor = 0;
  const auto add = [&](double until) {
    if (until - cursor > timeTolerance)
      regions.push_back(
          {.id = derivedID(static_cast<std::int64_t>(regions.size()), cursor), .span = {cursor, until}});
  };
  for (const auto& clip : clips) {
    add(clip.start);
    cursor = clip.end;
  }
  add(duration);
  return regions;
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

UUID derivedID(std::int64_t index, double start) {
  UUID id;
  const std::uint64_t halves[] = {static_cast<std::uint64_t>(index), std::bit_cast<std::uint64_t>(start)};
  for (std::size_t byte = 0; byte < id.bytes.size(); ++byte)
    id.bytes[byte] = static_cast<std::uint8_t>(halves[byte / 8] >> (8 * (7 - byte % 8)));
  id.bytes[6] = static_cast<std::uint8_t>(0x80 | (id.bytes[6] & 0x0F));
  return id;
}

Clips fromLegacy(const std::vector<TimelineTrimRegion>& trimRegions, const std::vector<double>& splitTimes,
                 const std::map<std::int64_t, double>& clipSpeeds, double duration) {
  if (!isValidDuration(duration)) return {};
  const auto cutSpans = cuts(trimRegions, duration);
  Clips result;
  const auto emit = [&result](double start, double end, double speed) {
    if (end - start > timeTolerance)
      result.push_back({.id = derivedID(static_cast<std::int64_t>(result.size()), start),
                        .start = start,
                        .end = end,
                        .speed = speed});
  };
  auto cut = cutSpans.begin();
  for (const auto& segment : TimelineClipSegment::segments(duration, splitTimes, clipSpeeds)) {
    double cursor = segment.start;
    while (cut != cutSpans.end() && cut->end <= cursor) ++cut;
    // The last cut that this segment meets may reach into the next one.
    for (auto met = cut; met != cutSpans.end() && met->start < segment.end; ++met) {
      cut = met;
      emit(cursor, met->start, segment.speed);
      cursor = std::max(cursor, met->end);
    }
    emit(cursor, segment.end, segment.speed);
  }
  return result;
}

std::optional<Legacy> legacy(const Clips& clips, double duration) {
  if (!isValidDuration(duration) || clips.empty()) return std::nullopt;
  if (std::ranges::any_of(clips, hasChoicesOfItsOwn) || !runsInSourceOrder(clips, duration))
    return std::nullopt;

  Legacy result = {.trimRegions = gaps(clips, duration), .splitTimes = boundaries(clips, duration)};
  const auto segments = TimelineClipSegment::segments(duration, result.splitTimes, {});
  const auto middle = [](const TimelineClipSegment& segment) { return (segment.start + segment.end) / 2; };
  // The first clip over a segment's middle has its speed; clips may overlap within the tolerance.
  for (const auto& clip : clips) {
    auto segment = std::ranges::upper_bound(segments, clip.start, {}, middle);
    for (; segment != segments.end() && middle(*segment) < clip.end; ++segment)
      result.clipSpeeds.try_emplace(segment->index, TimelineClipSpeed::normalized(clip.speed));
  }
  std::erase_if(result.clipSpeeds, [](const auto& entry) { return entry.second == 1; });
  return result;
}

}  // namespace quillant::TimelineClipList
