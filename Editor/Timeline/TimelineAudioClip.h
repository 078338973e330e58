#pragma once

#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineClipSpeed.h"

namespace quillant {

/// The two rows of sound beside the video: voice is a snapshot's `audioClips`, music its `musicClips`.
enum class TimelineAudioRow { voice, music };

/// A stretch of sound on one of the audio rows.
struct TimelineAudioClip {
  UUID id;
  std::string source;      ///< `TimelineAudioSource::id`
  double start = 0;        ///< Output seconds, unlike every other time of an edit.
  double sourceStart = 0;  ///< Seconds in the sound file.
  double sourceEnd = 0;    ///< Seconds in the sound file.
  double speed = 1;
  double volume = 1;
  bool muted = false;
  std::optional<bool> voiceCleanup;  ///< Files know only true and none.

  /// Seconds of the sound file that pass in one second of output.
  double rate() const { return TimelineClipSpeed::rate(speed); }
  /// Seconds of output.
  double outputLength() const { return sourceEnd > sourceStart ? (sourceEnd - sourceStart) / rate() : 0; }
  /// Output seconds.
  double end() const { return start + outputLength(); }

  friend bool operator==(const TimelineAudioClip&, const TimelineAudioClip&) = default;
};

void to_json(Json& json, const TimelineAudioClip& clip);
/// A clip without an id gets a fresh one.
void from_json(const Json& json, TimelineAudioClip& clip);

}  // namespace quillant
