#pragma once

#include "Core/JSONForward.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// A stretch cut out of the recording, in the older form that clips are stored in.
struct TimelineTrimRegion {
  UUID id;
  TimelineSpan span;  ///< Source seconds of the recording.

  friend bool operator==(const TimelineTrimRegion&, const TimelineTrimRegion&) = default;
};

void to_json(Json& json, const TimelineTrimRegion& trim);
void from_json(const Json& json, TimelineTrimRegion& trim);

}  // namespace quillant
