#pragma once

#include <cstddef>
#include <optional>
#include <unordered_set>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineAudioClip.h"
#include "Editor/Timeline/TimelineClip.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// Rules over one row of sound, in output seconds. In a row that these functions made, clips are in order and
/// never overlap.
///
/// An edit returns the new row, and none where nothing changes; an id that the row does not hold changes
/// nothing.
namespace TimelineAudioTrack {

using Row = std::vector<TimelineAudioClip>;

/// Takes a stretch of output out: what lies in it goes, what lies behind it moves up.
std::optional<Row> removeTime(const Row& row, double from, double to);
/// The same for several stretches, none overlapping another, all in the output times of the row as it is
/// given.
std::optional<Row> removeTimes(const Row& row, std::vector<TimelineSpan> spans);
/// Puts time back: what starts there or later moves on, and a clip that `removeTime` divided there is one
/// again. Unlike elsewhere, nothing to do gives the row as it is; none means that a clip is in the way.
std::optional<Row> insertTime(const Row& row, double at, double length);
/// Cuts a stretch out and leaves a gap.
std::optional<Row> deleteRange(const Row& row, double from, double to);
/// The first part keeps the id.
std::optional<Row> split(const Row& row, double at);
/// Moves one edge inward; a clip never grows.
std::optional<Row> trim(const Row& row, const UUID& id, TimelineClipEdge edge, double to);
/// Where the place is taken, the clip goes to the next free one. A time that is not finite is no place.
std::optional<Row> move(const Row& row, const UUID& id, double toStart);
/// A clip that grows pushes those behind it on.
std::optional<Row> setSpeed(const Row& row, const UUID& id, double speed);
std::optional<Row> setVolume(const Row& row, const UUID& id, double volume);
std::optional<Row> setMuted(const Row& row, const UUID& id, bool muted);
std::optional<Row> delete_(const Row& row, const std::unordered_set<UUID>& ids);

/// The row with the clip in it, moved right until it overlaps nothing.
Row placing(TimelineAudioClip clip, Row row);
/// The same for one clip after another.
Row placing(std::vector<TimelineAudioClip> clips, Row row);
/// The row in order of time from 0 on, each clip pushed behind the one before it.
Row normalized(Row row);
/// The clip that holds the time, its start included and its end not.
std::optional<std::size_t> index(const Row& row, double time);
/// The latest end of any clip; 0 without clips.
double end(const Row& row);

}  // namespace TimelineAudioTrack
}  // namespace quillant
