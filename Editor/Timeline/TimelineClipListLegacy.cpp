// The older stored form of a clip list, both ways.

#include <algorithm>
#include <bit>
#include <cmath>

#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineClipSegment.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineClipList {

namespace {

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
  auto clip = clips.begin();
  for (const auto& segment : TimelineClipSegment::segments(duration, result.splitTimes, {})) {
    const double middle = (segment.start + segment.end) / 2;
    while (clip != clips.end() && clip->end <= middle) ++clip;
    if (clip == clips.end()) break;
    const double speed = TimelineClipSpeed::normalized(clip->speed);
    if (clip->start < middle && speed != 1) result.clipSpeeds[segment.index] = speed;
  }
  return result;
}

}  // namespace quillant::TimelineClipList
