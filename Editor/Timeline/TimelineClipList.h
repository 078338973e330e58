#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineClip.h"
#include "Editor/Timeline/TimelineSpan.h"
#include "Editor/Timeline/TimelineTrimRegion.h"

namespace quillant {

/// Rules over the clips of the video, in playing order. Output time runs through them one after another;
/// inside a clip one output second is `TimelineClip::rate()` source seconds.
///
/// An edit returns the new list, and none where nothing can or need change.
namespace TimelineClipList {

using Clips = std::vector<TimelineClip>;

/// Seconds of output.
double outputDuration(const Clips& clips);
/// The stretch of output of each clip, in the order of the clips.
std::vector<TimelineSpan> placed(const Clips& clips);
/// The clip that plays at an output time. A time that no clip holds belongs to the last clip; none only
/// without clips.
std::optional<std::size_t> index(const Clips& clips, double outputTime);
/// The source time of clip `clipIndex` at an output time, kept inside the clip.
double sourceTime(const Clips& clips, std::size_t clipIndex, double outputTime);

/// The first half keeps the id, the second gets a fresh one.
std::optional<Clips> split(const Clips& clips, double outputTime);
/// Moves one edge inward; a clip never grows.
std::optional<Clips> trim(const Clips& clips, const UUID& id, TimelineClipEdge edge, double outputTime);
/// None too when nothing would be left to play.
std::optional<Clips> deleteOutputRange(const Clips& clips, double from, double to);
/// The clip keeps its source times, so its output length changes.
std::optional<Clips> setSpeed(const Clips& clips, const UUID& id, double speed);
/// The last clip is never deleted.
std::optional<Clips> delete_(const Clips& clips, const UUID& id);
/// `index` counts in the list without the clip, and is brought into range.
std::optional<Clips> move(const Clips& clips, const UUID& id, std::int64_t index);

/// An id that depends only on its arguments, so that clips made from stored data are the same on every load.
UUID derivedID(std::int64_t index, double start);

/// The older stored form of a list: what is cut out, where it is split, and the speed of each
/// `TimelineClipSegment` by index. All in source seconds of the recording.
struct Legacy {
  std::vector<TimelineTrimRegion> trimRegions;
  std::vector<double> splitTimes;
  std::map<std::int64_t, double> clipSpeeds;

  friend bool operator==(const Legacy&, const Legacy&) = default;
};

Clips fromLegacy(const std::vector<TimelineTrimRegion>& trimRegions, const std::vector<double>& splitTimes,
                 const std::map<std::int64_t, double>& clipSpeeds, double duration);
/// The list in the older form, if that form can say it: in source order, of the main recording, and without
/// sound or camera choices of its own.
std::optional<Legacy> legacy(const Clips& clips, double duration);

}  // namespace TimelineClipList
}  // namespace quillant
