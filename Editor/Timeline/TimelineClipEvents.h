#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <variant>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineClip.h"
#include "Editor/Timeline/TimelineRecordingSound.h"
#include "Editor/Timeline/TimelineSource.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

namespace quillant {

struct TimelineEditState;

/// The events of the clips of the video. `duration` is the recording's, in seconds.
namespace TimelineEvents {

struct SplitClip {
  double outputTime = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// The voice row loses the clip's time too.
struct DeleteClip {
  UUID id;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// In output seconds, in either order. The voice row loses the same stretch.
struct DeleteOutputRange {
  double start = 0;
  double end = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// Moves one edge of a clip inward, to an output time. The voice row loses what the clip loses.
struct TrimClip {
  UUID id;
  TimelineClipEdge edge = TimelineClipEdge::leading;
  double outputTime = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// The voice row stays as it is: how long it takes to say something does not change.
struct SetClipSpeed {
  UUID id;
  double speed = 1;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// Brings in another video, with its zooms in its own seconds.
struct AddClip {
  TimelineClip clip;
  TimelineSource source;
  std::vector<TimelineZoomRegion> zooms;
  double duration = 0;
  std::optional<std::int64_t> index;  ///< In the list of clips; none is its end.

  void apply(TimelineEditState& state) const;
};

struct MoveClip {
  UUID id;
  std::int64_t toIndex = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// The mix of each clip named.
struct SetClipSounds {
  std::map<UUID, TimelineRecordingSound> sounds;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

struct SetClipCameraLayout {
  UUID id;
  TimelineCameraLayout layout = TimelineCameraLayout::bubble;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

using ClipEvents = std::variant<SplitClip, DeleteClip, DeleteOutputRange, TrimClip, SetClipSpeed, AddClip,
                                MoveClip, SetClipSounds, SetClipCameraLayout>;

}  // namespace TimelineEvents
}  // namespace quillant
