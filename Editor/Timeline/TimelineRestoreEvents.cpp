#include "Editor/Timeline/TimelineRestoreEvents.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <vector>

#include "Core/SystemWords.h"
#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineEvents {

using TimelineAudioTrack::Row;
using TimelineClipList::Clips;

namespace {

/// Edges this near, in seconds, are those that one cut made.
constexpr double edgeTolerance = 0.002;

constexpr const char* alreadyPlays = "Those words already play.";

/// The refusal of what cannot be put back as it was. `reason` is a sentence with its blank, or nothing.
std::string inexact(std::string_view reason = {}) {
  return fmt::format("{}It can't be put back exactly any more. Use {} to undo the cut.", reason,
                     SystemWords::undoKeys);
}

bool isNear(double left, double right) {
  return std::abs(left - right) <= edgeTolerance;
}

/// The parts of a stretch that nothing plays.
std::vector<TimelineSpan> missing(const TimelineSpan& wanted, std::vector<TimelineSpan> playing) {
  sortByStart(playing, &TimelineSpan::start);
  std::vector<TimelineSpan> result;
  double cursor = wanted.start;
  const auto addUntil = [&](double end) {
    if (end - cursor > edgeTolerance) result.push_back({cursor, end});
  };
  for (const auto& span : playing) {
    addUntil(std::min(span.start, wanted.end));
    cursor = std::max(cursor, span.end);
  }
  addUntil(wanted.end);
  return result;
}

/// The clips between which a stretch of their source was, by index. At least one is set.
struct Neighbours {
  std::optional<std::size_t> left, right;
};

/// Looks for neighbours in any list: `spanOf` is the stretch of the source that an element plays, none for
/// other sources; `meet` says whether two elements are still in the places that the cut left them in.
template <class List, class SpanOf, class Meet>
std::optional<Neighbours> neighbours(const List& list, const TimelineSpan& stretch, SpanOf spanOf,
                                     Meet meet) {
  std::vector<std::size_t> before, after;
  const auto keepNearest = [](std::vector<std::size_t>& nearest, std::size_t index, double distance,
                              auto distanceOf) {
    if (!nearest.empty() && distance > distanceOf(nearest.front()) + edgeTolerance) return;
    if (!nearest.empty() && distance < distanceOf(nearest.front()) - edgeTolerance) nearest.clear();
    nearest.push_back(index);
  };
  const auto distanceBefore = [&](std::size_t i) { return stretch.start - spanOf(list[i])->end; };
  const auto distanceAfter = [&](std::size_t i) { return spanOf(list[i])->start - stretch.end; };
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (!spanOf(list[i])) continue;
    if (distanceBefore(i) >= -edgeTolerance)
      keepNearest(before, i, distanceBefore(i), distanceBefore);
    else if (distanceAfter(i) >= -edgeTolerance)
      keepNearest(after, i, distanceAfter(i), distanceAfter);
  }
  if (before.empty() && after.empty()) return std::nullopt;
  if (before.empty()) return Neighbours{.right = after.front()};
  if (after.empty()) return Neighbours{.left = before.back()};
  for (const auto left : before)
    for (const auto right : after)
      if (meet(left, right)) return Neighbours{left, right};
  return std::nullopt;
}

bool haveSameSpeed(double left, double right) {
  return std::abs(left - right) <= placingTolerance;
}

bool sameClipSettings(const TimelineClip& left, const TimelineClip& right) {
  return left.sound == right.sound && left.cameraLayout() == right.cameraLayout() &&
         haveSameSpeed(left.speed, right.speed);
}

std::optional<TimelineSpan> sourceSpan(const TimelineClip& clip, const std::optional<std::string>& source) {
  if (clip.source != source || !(clip.start < clip.end)) return std::nullopt;
  return TimelineSpan{clip.start, clip.end};
}

/// Puts one stretch back between its neighbours. Returns the refusal, empty on success.
std::string putBack(Clips& clips, Row& voice, const std::optional<std::string>& source,
                    const TimelineSpan& stretch) {
  const auto found = neighbours(
      clips, stretch, [&](const TimelineClip& clip) { return sourceSpan(clip, source); },
      [](std::size_t left, std::size_t right) { return left + 1 == right; });
  if (!found) return inexact();
  const auto [left, right] = *found;
  const bool touchesLeft = left && isNear(clips[*left].end, stretch.start);
  const bool touchesRight = right && isNear(clips[*right].start, stretch.end);
  // Between two speeds, and touching both or none, nobody knows how fast it played.
  if (left && right && touchesLeft == touchesRight && !haveSameSpeed(clips[*left].speed, clips[*right].speed))
    return inexact();

  const bool followsLeft = touchesLeft || (left && !touchesRight);
  auto piece = clips[followsLeft ? *left : *right];
  piece.start = stretch.start;
  piece.end = stretch.end;
  if (!touchesLeft && !touchesRight && !isLongEnoughForClip(piece.outputLength())) return inexact();

  const auto placed = TimelineClipList::placed(clips);
  const double time = left ? placed[*left].end : placed[*right].start;
  auto shifted = TimelineAudioTrack::insertTime(voice, time, piece.outputLength());
  if (!shifted) return inexact("A voice clip now plays across this spot. ");
  voice = std::move(*shifted);

  const auto at = clips.begin() + static_cast<std::ptrdiff_t>(left ? *left + 1 : *right);
  if (touchesLeft && touchesRight && sameClipSettings(clips[*left], clips[*right])) {
    clips[*left].end = clips[*right].end;
    clips.erase(at);
  } else if (touchesLeft) {
    clips[*left].end = touchesRight ? clips[*right].start : stretch.end;
  } else if (touchesRight) {
    clips[*right].start = stretch.start;
  } else {
    piece.id = UUID::random();
    clips.insert(at, std::move(piece));
  }
  return {};
}

std::string restore(const RestoreVideoGap& gap, Clips& clips, Row& voice) {
  const TimelineSpan wanted = {std::max(0.0, gap.lo), std::min(gap.hi, gap.limit)};
  if (!(gap.lo < gap.hi && wanted.start < wanted.end)) return inexact();
  std::vector<TimelineSpan> playing;
  for (const auto& clip : clips)
    if (const auto span = sourceSpan(clip, gap.source)) playing.push_back(*span);
  if (playing.empty()) return "Nothing of this video plays any more, so there is nowhere to put it back.";
  const auto stretches = missing(wanted, std::move(playing));
  if (stretches.empty()) return alreadyPlays;
  for (const auto& stretch : stretches)
    if (const auto refusal = putBack(clips, voice, gap.source, stretch); !refusal.empty()) return refusal;
  return {};
}

/// Stores the restored voice row unless it is what it was.
void storeVoice(TimelineEditState& state, const Row& voice) {
  state.editAudio({}, TimelineAudioRow::voice,
                  [&](const Row& row) { return row == voice ? std::nullopt : std::optional(voice); });
}

}  // namespace

void RestoreVideoGap::apply(TimelineEditState& state) const {
  Row voice = state.snapshot.audioClips;
  std::string refusal;
  const auto restored = [&](Clips clips) -> std::optional<Clips> {
    refusal = restore(*this, clips, voice);
    return refusal.empty() ? std::optional(std::move(clips)) : std::nullopt;
  };
  if (state.editClips({}, duration, restored)) {
    storeVoice(state, voice);
    state.statusMessage = "Restored.";
  } else if (!refusal.empty()) {
    state.statusMessage = refusal;
  }
}

namespace {

bool haveSameSettings(const TimelineAudioClip& left, const TimelineAudioClip& right) {
  return left.volume == right.volume && left.muted == right.muted && left.voiceCleanup == right.voiceCleanup;
}

/// Whether the clips leave something of a video out at an output time within the span.
bool isVideoCut(const Clips& clips, double duration, const TimelineSpan& within) {
  const auto placed = TimelineClipList::placed(clips);
  const auto isWithin = [&within](double time) {
    return within.start - edgeTolerance <= time && time <= within.end + edgeTolerance;
  };
  if (clips.front().start > edgeTolerance && isWithin(0)) return true;
  for (std::size_t i = 1; i < clips.size(); ++i) {
    const bool jumps = clips[i].source != clips[i - 1].source || !isNear(clips[i].start, clips[i - 1].end);
    if (jumps && isWithin(placed[i].start)) return true;
  }
  return clips.back().end < duration - edgeTolerance && isWithin(placed.back().end);
}

/// The output time at which a clip would play a moment of its source if it went on beyond its edges.
double extrapolated(const TimelineAudioClip& clip, double sourceTime) {
  return clip.start + (sourceTime - clip.sourceStart) / clip.rate();
}

std::optional<TimelineSpan> sourceSpan(const TimelineAudioClip& clip, const std::string& source) {
  if (clip.source != source || !(clip.sourceStart < clip.sourceEnd)) return std::nullopt;
  return TimelineSpan{clip.sourceStart, clip.sourceEnd};
}

/// Fills the gap that one stretch left. Returns the refusal, empty on success.
std::string fill(Row& row, const RestoreVoiceGap& gap, const Clips& video, const TimelineSpan& stretch) {
  const auto refusal = [&](const TimelineSpan& where) -> std::string {
    if (!isVideoCut(video, gap.duration, where)) return inexact();
    return inexact("The video was cut here too. ");
  };
  std::optional<TimelineSpan> tooShort;
  const auto fits = [&](std::size_t left, std::size_t right) {
    const auto& before = row[left];
    const auto& after = row[right];
    if (!haveSameSpeed(before.speed, after.speed)) return false;
    const double spare = extrapolated(after, stretch.start) - extrapolated(before, stretch.start);
    if (spare < -edgeTolerance) tooShort = TimelineSpan{before.end(), after.start};
    return std::abs(spare) <= edgeTolerance;
  };
  const auto found = neighbours(
      row, stretch, [&](const TimelineAudioClip& clip) { return sourceSpan(clip, gap.source); }, fits);
  if (!found) return tooShort ? refusal(*tooShort) : inexact();

  const auto [left, right] = *found;
  const bool touchesLeft = left && isNear(row[*left].sourceEnd, stretch.start);
  const bool touchesRight = right && isNear(row[*right].sourceStart, stretch.end);
  auto piece = row[left ? *left : *right];
  piece.start = extrapolated(piece, stretch.start);
  piece.sourceStart = stretch.start;
  piece.sourceEnd = stretch.end;
  const auto isInTheWay = [&piece](const TimelineAudioClip& clip) {
    return clip.start < piece.end() - edgeTolerance && piece.start + edgeTolerance < clip.end();
  };
  if (piece.start < -edgeTolerance || std::ranges::any_of(row, isInTheWay))
    return refusal({std::max(0.0, piece.start), piece.end()});

  if (touchesLeft && touchesRight && haveSameSettings(row[*left], row[*right])) {
    row[*left].sourceEnd = row[*right].sourceEnd;
    row.erase(row.begin() + static_cast<std::ptrdiff_t>(*right));
  } else if (touchesLeft) {
    row[*left].sourceEnd = touchesRight ? row[*right].sourceStart : stretch.end;
  } else if (touchesRight) {
    row[*right].start = piece.start;
    row[*right].sourceStart = stretch.start;
  } else {
    if (!isLongEnoughForClip(piece.outputLength())) return inexact();
    piece.id = UUID::random();
    row.push_back(std::move(piece));
  }
  row = TimelineAudioTrack::normalized(std::move(row));
  return {};
}

std::string restore(const RestoreVoiceGap& gap, Row& row, const Clips& video) {
  const TimelineSpan wanted = {std::max(0.0, gap.lo), gap.hi};
  if (!(gap.lo < gap.hi && wanted.start < wanted.end) || video.empty()) return inexact();
  std::vector<TimelineSpan> playing;
  for (const auto& clip : row)
    if (const auto span = sourceSpan(clip, gap.source)) playing.push_back(*span);
  const auto stretches = missing(wanted, std::move(playing));
  if (stretches.empty()) return alreadyPlays;
  for (const auto& stretch : stretches)
    if (const auto refusal = fill(row, gap, video, stretch); !refusal.empty()) return refusal;
  return {};
}

}  // namespace

void RestoreVoiceGap::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) {
    state.statusMessage = TimelineEditState::noVideoStatus;
    return;
  }
  Row row = state.snapshot.audioClips;
  const auto refusal = restore(*this, row, state.snapshot.effectiveClips(duration));
  if (refusal.empty()) storeVoice(state, row);
  state.statusMessage = refusal.empty() ? "Restored." : refusal;
}

}  // namespace quillant::TimelineEvents
