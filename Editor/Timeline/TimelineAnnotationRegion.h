#pragma once

#include <string>

#include "Core/JSONForward.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineSpan.h"

namespace quillant {

/// A text laid over the video. Stored ones load, change and go; the editor adds none.
struct TimelineAnnotationRegion {
  UUID id;
  TimelineSpan span;  ///< Source seconds of the recording.
  std::string text;
  double x = 0;
  double y = 0;
  double fontSize = 0;

  friend bool operator==(const TimelineAnnotationRegion&, const TimelineAnnotationRegion&) = default;
};

void to_json(Json& json, const TimelineAnnotationRegion& annotation);
void from_json(const Json& json, TimelineAnnotationRegion& annotation);

}  // namespace quillant
