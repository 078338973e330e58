#pragma once

#include "Core/JSONForward.h"
#include "Core/UUID.h"
#include "Editor/Timeline/FacecamSettings.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

enum class TimelineCameraMergeDirection { previous, next };

/// A stretch of the recording in which the camera shows with settings of its own.
struct TimelineCameraClip {
  UUID id;
  TimelineSpan span;  ///< Source seconds of the recording.
  FacecamSettings settings;

  friend bool operator==(const TimelineCameraClip&, const TimelineCameraClip&) = default;
};

void to_json(Json& json, const TimelineCameraClip& clip);
/// A clip without an id gets a fresh one, without settings the default ones; the settings are clamped.
void from_json(const Json& json, TimelineCameraClip& clip);

}  // namespace quillant
