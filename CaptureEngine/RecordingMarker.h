#pragma once

#include <cstdint>

#include "Core/Date.h"
#include "Core/JSONForward.h"

namespace quillant {

/// The file `x.recording` beside a recording that is under way. That it exists is what makes a recording an
/// orphan; what it says is for diagnosis.
struct RecordingMarker {
  Date startedAt;
  std::int32_t pid = 0;
  friend bool operator==(const RecordingMarker&, const RecordingMarker&) = default;
};

void to_json(Json& json, const RecordingMarker& marker);
void from_json(const Json& json, RecordingMarker& marker);

}  // namespace quillant
