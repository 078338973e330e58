#pragma once

#include <optional>
#include <variant>

#include "Core/UUID.h"
#include "Editor/Timeline/FacecamSettings.h"
#include "Editor/Timeline/TimelineCameraClip.h"

namespace quillant {

struct TimelineEditState;

/// The events of the camera clips. Times are source seconds of the recording, `duration` is the recording's;
/// `fallback` is how the camera shows where there are no clips, none without a camera.
namespace TimelineEvents {

/// Makes a first clip over the whole recording.
struct EnsureCameraClips {
  double duration = 0;
  std::optional<FacecamSettings> fallback;

  void apply(TimelineEditState& state) const;
};

struct SplitCameraClip {
  double currentTime = 0;
  double duration = 0;
  std::optional<FacecamSettings> fallback;

  void apply(TimelineEditState& state) const;
};

struct UpdateCameraClipSettings {
  UUID id;
  FacecamSettings settings;

  void apply(TimelineEditState& state) const;
};

/// The clip swallows its neighbour, and keeps its own settings.
struct MergeCameraClip {
  UUID id;
  TimelineCameraMergeDirection direction = TimelineCameraMergeDirection::next;

  void apply(TimelineEditState& state) const;
};

/// The camera does not show where the clip was.
struct DeleteCameraClip {
  UUID id;
  double duration = 0;
  std::optional<FacecamSettings> fallback;

  void apply(TimelineEditState& state) const;
};

using CameraEvents = std::variant<EnsureCameraClips, SplitCameraClip, UpdateCameraClipSettings,
                                  MergeCameraClip, DeleteCameraClip>;

}  // namespace TimelineEvents
}  // namespace quillant
