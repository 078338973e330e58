#include "Editor/Timeline/TimelineAudioTrack.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineAudioTrack {

namespace {

constexpr double smallestInsertion = 0.0005;
constexpr double seamTolerance = 0.002;
/// How far the sound missing between two clips may differ from the time put back between them.
constexpr double seamSourceTolerance = 0.01;

auto find(const Row& row, const UUID& id) {
  return std::ranges::find(row, id, &TimelineAudioClip::id);
}

/// The row with one clip changed; none if the clip is missing or stays as it is.
template <class Change>
std::optional<Row> changing(const Row& row, const UUID& id, Change change) {
  const auto found = find(row, id);
  if (found == row.end()) return std::nullopt;
  auto clip = *found;
  change(clip);
  if (clip == *found) return std::nullopt;
  auto result = row;
  result[static_cast<std::size_t>(found - row.begin())] = std::move(clip);
  return result;
}

/// The second in the sound file that is heard at an output time.
double sourceTime(const TimelineAudioClip& clip, double time) {
  const double source = clip.sourceStart + (time - clip.start) * clip.rate();
  return std::max(clip.sourceStart, std::min(clip.sourceEnd, source));
}

TimelineAudioClip head(TimelineAudioClip clip, double until) {
  clip.sourceEnd = sourceTime(clip, until);
  return clip;
}

TimelineAudioClip tail(TimelineAudioClip clip, double from) {
  clip.sourceStart = sourceTime(clip, from);
  clip.start = from;
  return clip;
}

/// The divided halves of one clip around a time, if it is there that `length` was taken out of it.
std::optional<std::pair<std::size_t, std::size_t>> dividedClip(const Row& row, double at, double length) {
  const auto near = [at](double time) { return std::abs(time - at) <= seamTolerance; };
  const auto left = std::ranges::find_if(row, near, &TimelineAudioClip::end);
  const auto right = std::ranges::find_if(row, near, &TimelineAudioClip::start);
  if (left == row.end() || right == row.end() || left == right) return std::nullopt;
  const bool alike = left->source == right->source &&
                     std::abs(left->speed - right->speed) <= placingTolerance &&
                     left->volume == right->volume && left->muted == right->muted &&
                     left->voiceCleanup == right->voiceCleanup;
  const double missing = right->sourceStart - left->sourceEnd;
  if (!alike || !(std::abs(missing - length * left->rate()) < seamSourceTolerance)) return std::nullopt;
  return std::pair(static_cast<std::size_t>(left - row.begin()),
                   static_cast<std::size_t>(right - row.begin()));
}

}  // namespace

std::optional<Row> removeTime(const Row& row, double from, double to) {
  return removeTimes(row, {{from, to}});
}

std::optional<Row> removeTimes(const Row& row, std::vector<TimelineSpan> spans) {
  std::erase_if(spans, [](const TimelineSpan& span) {
    return !(span.length() > timeTolerance) || !std::isfinite(span.length());
  });
  if (spans.empty()) return std::nullopt;
  sortByStart(spans, &TimelineSpan::start);
  std::vector<double> removedBefore = {0};  // by the number of spans
  removedBefore.reserve(spans.size() + 1);
  for (const auto& span : spans) removedBefore.push_back(removedBefore.back() + span.length());

  Row result;
  result.reserve(row.size() + spans.size());
  for (const auto& clip : row) {
    const auto passed =
        std::ranges::upper_bound(spans, clip.start + placingTolerance, {}, &TimelineSpan::end);
    const auto begun = std::ranges::lower_bound(passed, spans.end(), clip.end() - placingTolerance, {},
                                                &TimelineSpan::start);
    // From the last span on: what it leaves on its left is what the one before it cuts.
    std::optional<TimelineAudioClip> left = clip;
    const auto firstPiece = static_cast<std::ptrdiff_t>(result.size());
    for (auto span = begun; left && span != passed;) {
      --span;
      const auto whole = std::move(*left);
      left.reset();
      if (whole.start < span->start - placingTolerance) {
        left = head(whole, span->start);
        if (!isLongEnoughForClip(left->outputLength())) left.reset();
      }
      if (span->end + placingTolerance < whole.end()) {
        auto right = tail(whole, span->end);
        right.start = span->start - removedBefore[static_cast<std::size_t>(span - spans.begin())];
        if (left) right.id = UUID::random();
        if (isLongEnoughForClip(right.outputLength())) result.push_back(std::move(right));
      }
    }
    if (left) {
      left->start -= removedBefore[static_cast<std::size_t>(passed - spans.begin())];
      result.push_back(std::move(*left));
    }
    std::reverse(result.begin() + firstPiece, result.end());
  }
  if (result == row) return std::nullopt;
  return result;
}

std::optional<Row> insertTime(const Row& row, double at, double length) {
  if (!(length > smallestInsertion) || row.empty()) return row;
  for (const auto& clip : row)
    if (clip.start < at - seamTolerance && clip.end() > at + seamTolerance) return std::nullopt;

  auto result = row;
  std::optional<UUID> joined;
  if (const auto halves = dividedClip(row, at, length)) {
    const auto [left, right] = *halves;
    result[left].sourceEnd = row[right].sourceEnd;
    joined = row[left].id;
    result.erase(result.begin() + static_cast<std::ptrdiff_t>(right));
  }
  for (auto& clip : result)
    if (clip.start > at - seamTolerance && clip.id != joined) clip.start += length;
  return result;
}

std::optional<Row> deleteRange(const Row& row, double from, double to) {
  const double low = std::min(from, to);
  const double high = std::max(from, to);
  if (!(high - low > timeTolerance)) return std::nullopt;
  Row result;
  result.reserve(row.size() + 1);
  for (const auto& clip : row) {
    const double clipEnd = clip.end();
    if (!(clip.start + placingTolerance < high && low < clipEnd - placingTolerance)) {
      result.push_back(clip);
      continue;
    }
    const bool keepsHead = clip.start + timeTolerance < low;
    if (keepsHead) result.push_back(head(clip, low));
    if (high < clipEnd - timeTolerance) {
      result.push_back(tail(clip, high));
      if (keepsHead) result.back().id = UUID::random();
    }
  }
  if (result == row) return std::nullopt;
  return result;
}

std::optional<Row> split(const Row& row, double at) {
  const auto found = index(row, at);
  if (!found) return std::nullopt;
  const auto& clip = row[*found];
  if (!isLongEnoughForClip(at - clip.start) || !isLongEnoughForClip(clip.end() - at)) return std::nullopt;

  const auto left = head(clip, at);
  auto right = tail(clip, at);
  right.id = UUID::random();
  right.start = left.end();
  auto result = row;
  result[*found] = left;
  result.insert(result.begin() + static_cast<std::ptrdiff_t>(*found) + 1, std::move(right));
  return result;
}

std::optional<Row> trim(const Row& row, const UUID& id, TimelineClipEdge edge, double to) {
  return changing(row, id, [&](TimelineAudioClip& clip) {
    if (edge == TimelineClipEdge::leading) {
      const double time = std::min(clip.end() - minimumClipLength, std::max(clip.start, to));
      if (clip.start + timeTolerance < time) clip = tail(clip, time);
    } else {
      const double time = std::max(std::min(clip.end(), to), clip.start + minimumClipLength);
      if (time < clip.end() - timeTolerance) clip = head(clip, time);
    }
  });
}

std::optional<Row> move(const Row& row, const UUID& id, double toStart) {
  const auto found = find(row, id);
  if (found == row.end() || !std::isfinite(toStart)) return std::nullopt;
  auto clip = *found;
  clip.start = std::max(0.0, toStart);
  auto others = row;
  others.erase(others.begin() + (found - row.begin()));
  auto result = placing(std::move(clip), std::move(others));
  if (result == row) return std::nullopt;
  return result;
}

std::optional<Row> setSpeed(const Row& row, const UUID& id, double speed) {
  auto result =
      changing(row, id, [&](TimelineAudioClip& clip) { clip.speed = TimelineClipSpeed::normalized(speed); });
  if (result) result = normalized(std::move(*result));
  return result;
}

std::optional<Row> setVolume(const Row& row, const UUID& id, double volume) {
  return changing(row, id, [&](TimelineAudioClip& clip) { clip.volume = volume; });
}

std::optional<Row> setMuted(const Row& row, const UUID& id, bool muted) {
  return changing(row, id, [&](TimelineAudioClip& clip) { clip.muted = muted; });
}

std::optional<Row> delete_(const Row& row, const std::unordered_set<UUID>& ids) {
  Row result;
  result.reserve(row.size());
  std::ranges::copy_if(row, std::back_inserter(result),
                       [&](const auto& clip) { return !ids.contains(clip.id); });
  if (result.size() == row.size()) return std::nullopt;
  return result;
}

Row placing(TimelineAudioClip clip, Row row) {
  std::vector<TimelineAudioClip> clips;
  clips.push_back(std::move(clip));
  return placing(std::move(clips), std::move(row));
}

Row placing(std::vector<TimelineAudioClip> clips, Row row) {
  sortByStart(row, &TimelineAudioClip::start);
  row.reserve(row.size() + clips.size());
  std::vector<double> latestEnds;  // of each clip of the row and all before it
  const auto updateLatestEnds = [&](std::size_t from) {
    latestEnds.resize(row.size());
    for (auto i = from; i < row.size(); ++i)
      latestEnds[i] = i == 0 ? row[i].end() : std::max(latestEnds[i - 1], row[i].end());
  };
  updateLatestEnds(0);
  for (auto& clip : clips) {
    const auto endsBefore = [&](double end) { return !(clip.start < end - placingTolerance); };
    auto other = row.begin() + (std::ranges::partition_point(latestEnds, endsBefore) - latestEnds.begin());
    for (; other != row.end() && other->start + placingTolerance < clip.end(); ++other)
      if (!endsBefore(other->end())) clip.start = other->end();
    const auto place = std::ranges::upper_bound(row, clip.start, {}, &TimelineAudioClip::start);
    const auto placed = row.insert(place, std::move(clip));
    updateLatestEnds(static_cast<std::size_t>(placed - row.begin()));
  }
  return row;
}

Row normalized(Row row) {
  sortByStart(row, &TimelineAudioClip::start);
  double free = 0;
  for (auto& clip : row) {
    clip.start = std::max(0.0, clip.start);
    if (clip.start < free - placingTolerance) clip.start = free;
    free = clip.end();
  }
  return row;
}

std::optional<std::size_t> index(const Row& row, double time) {
  for (std::size_t i = 0; i < row.size(); ++i)
    if (row[i].start <= time && time < row[i].end()) return i;
  return std::nullopt;
}

double end(const Row& row) {
  if (row.empty()) return 0;
  return std::ranges::max_element(row, {}, &TimelineAudioClip::end)->end();
}

}  // namespace quillant::TimelineAudioTrack
