#pragma once

#include "Core/JSONForward.h"

namespace quillant {

/// How the room around the inset picture is shared out: 0.5 is even, 0 leaves none at the left or top.
struct VideoInsetBalance {
  double left = 0.5;
  double top = 0.5;

  VideoInsetBalance clamped() const;  ///< Both within 0...1.
  friend bool operator==(const VideoInsetBalance&, const VideoInsetBalance&) = default;
};

void to_json(Json& json, const VideoInsetBalance& balance);
/// Both keys are required; nothing is clamped.
void from_json(const Json& json, VideoInsetBalance& balance);

}  // namespace quillant
