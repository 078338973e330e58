#pragma once

#include "Core/JSONForward.h"

namespace quillant {

/// How the sound that was recorded with the video is mixed.
struct TimelineRecordingSound {
  double micVolume = 1;
  bool micMuted = false;
  double systemVolume = 1;
  bool systemMuted = false;
  bool voiceCleanup = false;

  friend bool operator==(const TimelineRecordingSound&, const TimelineRecordingSound&) = default;
};

void to_json(Json& json, const TimelineRecordingSound& sound);
void from_json(const Json& json, TimelineRecordingSound& sound);

}  // namespace quillant
