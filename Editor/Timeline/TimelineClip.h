#pragma once

#include <optional>
#include <string>

#include "Core/JSONForward.h"
#include "Core/RawTexts.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineClipSpeed.h"
#include "Editor/Timeline/TimelineRecordingSound.h"

namespace quillant {

/// How the camera shows during a clip.
enum class TimelineCameraLayout { bubble, fullScreen, hidden };

template <>
inline constexpr auto rawTexts<TimelineCameraLayout> =
    std::to_array<RawText<TimelineCameraLayout>>({{TimelineCameraLayout::bubble, "bubble"},
                                                  {TimelineCameraLayout::fullScreen, "fullScreen"},
                                                  {TimelineCameraLayout::hidden, "hidden"}});

/// The end of a clip that a trim moves.
enum class TimelineClipEdge { leading, trailing };

/// One stretch of video. A list of clips is in playing order, which need not be the order of their times.
struct TimelineClip {
  UUID id;
  double start = 0;  ///< Source seconds of the file that `source` names.
  double end = 0;    ///< Source seconds.
  double speed = 1;
  std::optional<std::string> source;            ///< `TimelineSource::id`; none is the main recording.
  std::optional<TimelineRecordingSound> sound;  ///< None: the snapshot's `recordingSound` holds.
  std::optional<bool> cameraHidden;
  std::optional<bool> cameraFullScreen;

  /// Source seconds that pass in one second of output.
  double rate() const { return TimelineClipSpeed::rate(speed); }
  /// Seconds of output.
  double outputLength() const { return end > start ? (end - start) / rate() : 0; }
  TimelineCameraLayout cameraLayout() const;

  friend bool operator==(const TimelineClip&, const TimelineClip&) = default;
};

void to_json(Json& json, const TimelineClip& clip);
void from_json(const Json& json, TimelineClip& clip);

}  // namespace quillant
