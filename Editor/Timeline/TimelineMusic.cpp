#include "Editor/Timeline/TimelineMusic.h"

#include <algorithm>
#include <cmath>

#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineMusic {

namespace {

constexpr double longestFade = 2;
constexpr double shortestRamp = 1e-6;

template <class Change>
std::optional<Row> changingSong(const Row& row, const UUID& id, Change change) {
  const auto chosen = std::ranges::find(row, id, &TimelineAudioClip::id);
  if (chosen == row.end()) return std::nullopt;
  auto result = row;
  for (auto& clip : result)
    if (clip.source == chosen->source) change(clip);
  if (result == row) return std::nullopt;
  return result;
}

/// The first run that ends at `time` or later.
auto runEndingFrom(double time, const std::vector<Run>& runs) {
  return std::ranges::partition_point(runs, [time](const Run& run) { return run.end < time; });
}

double gainInside(const Run& run, double time) {
  if (!(run.fade > 0)) return 1;
  return std::clamp(std::min((time - run.start) / run.fade, (run.end - time) / run.fade), 0.0, 1.0);
}

}  // namespace

std::optional<Row> setVolume(const Row& row, const UUID& sameSongAs, double volume) {
  return changingSong(row, sameSongAs, [volume](TimelineAudioClip& clip) { clip.volume = volume; });
}

std::optional<Row> setMuted(const Row& row, const UUID& sameSongAs, bool muted) {
  return changingSong(row, sameSongAs, [muted](TimelineAudioClip& clip) { clip.muted = muted; });
}

Row fitted(const std::vector<Song>& songs, double from, double to) {
  std::vector<const Song*> playable;
  for (const auto& song : songs)
    if (song.duration > minimumClipLength) playable.push_back(&song);
  if (playable.empty()) return {};

  Row row;
  const auto add = [&row](const Song& song, double start, double length) {
    row.push_back({.id = UUID::random(),
                   .source = song.source,
                   .start = start,
                   .sourceEnd = length,
                   .volume = song.volume,
                   .muted = song.muted});
  };
  constexpr double smallestRest = minimumClipLength + placingTolerance;
  double cursor = std::max(0.0, from);
  double remaining = to - cursor;
  if (!(remaining > smallestRest)) add(*playable.front(), cursor, playable.front()->duration);
  while (remaining > smallestRest && row.size() < maximumFittedClips) {
    const auto& song = *playable[row.size() % playable.size()];
    const double length = std::min(remaining, song.duration);
    add(song, cursor, length);
    cursor += length;
    remaining -= length;
  }
  return row;
}

std::unordered_map<UUID, Repeat> repeats(Row row) {
  sortByStart(row, &TimelineAudioClip::start);
  std::unordered_map<UUID, Repeat> result;
  for (auto first = row.begin(); first != row.end();) {
    auto last = first + 1;
    while (last != row.end() && last->source == first->source && last->sourceStart < timeTolerance &&
           std::abs(last->start - (last - 1)->end()) < timeTolerance)
      ++last;
    const auto count = static_cast<int>(last - first);
    if (count > 1)
      for (int i = 0; i < count; ++i) result[first[i].id] = {.index = i, .count = count};
    first = last;
  }
  return result;
}

std::vector<Run> runs(Row row, double videoEnd) {
  sortByStart(row, &TimelineAudioClip::start);
  std::vector<Run> result;
  for (const auto& clip : row) {
    if (!result.empty() && clip.start - result.back().end < timeTolerance)
      result.back().end = std::max(result.back().end, clip.end());
    else
      result.push_back({.start = clip.start, .end = clip.end()});
  }
  for (auto& run : result) {
    run.end = std::min(run.end, videoEnd);
    run.fade = std::min((run.end - run.start) * 0.5, longestFade);
  }
  std::erase_if(result, [](const Run& run) { return !(run.end - run.start > timeTolerance); });
  return result;
}

double gain(double time, const std::vector<Run>& runs) {
  const auto run = runEndingFrom(time, runs);
  return run != runs.end() && run->start <= time ? gainInside(*run, time) : 1;
}

Envelope envelope(const TimelineAudioClip& clip, const std::vector<Run>& runs, double videoEnd) {
  const double start = clip.start;
  const double end = std::min(clip.end(), videoEnd);
  if (!(end - start > timeTolerance)) return {};
  const auto run = runEndingFrom(end - timeTolerance, runs);
  if (run == runs.end() || start < run->start - timeTolerance || !(run->fade > 0)) return {};

  Envelope result = {.initial = gainInside(*run, start)};
  const auto add = [&](double from, double to) {
    if (to - from > shortestRamp)
      result.ramps.push_back({from, to, gainInside(*run, from), gainInside(*run, to)});
  };
  add(std::max(start, run->start), std::min(end, run->start + run->fade));
  add(std::max(start, run->end - run->fade), std::min(end, run->end));
  return result;
}

}  // namespace quillant::TimelineMusic
