#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string_view>
#include <vector>

#include "Core/CopyOnWrite.h"
#include "Core/JSONForward.h"
#include "Core/RawTexts.h"
#include "Core/UUID.h"
#include "Editor/Timeline/TimelineAnnotationRegion.h"
#include "Editor/Timeline/TimelineAudioClip.h"
#include "Editor/Timeline/TimelineAudioSource.h"
#include "Editor/Timeline/TimelineCameraClip.h"
#include "Editor/Timeline/TimelineCaptions.h"
#include "Editor/Timeline/TimelineClip.h"
#include "Editor/Timeline/TimelineRecordingSound.h"
#include "Editor/Timeline/TimelineSource.h"
#include "Editor/Timeline/TimelineTrimRegion.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

namespace quillant {

/// The rows of the timeline that can be silenced whole.
enum class TimelineMuteRow { clips, voice, music };

template <>
inline constexpr auto rawTexts<TimelineMuteRow> =
    std::to_array<RawText<TimelineMuteRow>>({{TimelineMuteRow::clips, "clips"},
                                             {TimelineMuteRow::voice, "voice"},
                                             {TimelineMuteRow::music, "music"}});

/// The whole edit of a recording, as a plain value. Its big members are shared between copies, so that a copy
/// costs next to nothing and a history can hold thousands.
///
/// Times are seconds. Those of zooms, annotations, camera clips, trims and clips are source times of a file,
/// so that cutting and moving clips never touches them; those of the two audio rows are output times.
///
/// The clips are `clipList` where it is set, and otherwise what the older trio of `trimRegions`,
/// `clipSplitTimes` and `clipSpeeds` says: `effectiveClips` is the one way to read them, `setClips` the one
/// way to write them. Files hold the trio wherever it can say the list.
struct TimelineEditSnapshot {
  CopyOnWriteVector<TimelineZoomRegion> zoomRegions;
  CopyOnWriteVector<TimelineAnnotationRegion> annotationRegions;
  CopyOnWriteVector<TimelineCameraClip> cameraClips;
  CopyOnWriteVector<TimelineTrimRegion> trimRegions;
  CopyOnWriteVector<double> clipSplitTimes;
  CopyOnWrite<std::map<std::int64_t, double>> clipSpeeds;  ///< By the index of a `TimelineClipSegment`.
  std::optional<CopyOnWriteVector<TimelineClip>> clipList;
  double clipListDuration = 0;  ///< Of the source when `clipList` was set; not stored, 0 means unknown.
  CopyOnWriteVector<TimelineSource> sources;
  CopyOnWriteVector<TimelineAudioSource> audioSources;
  CopyOnWriteVector<TimelineAudioClip> audioClips;
  CopyOnWriteVector<TimelineAudioClip> musicClips;
  TimelineRecordingSound recordingSound;
  std::vector<TimelineMuteRow> mutedRows;  ///< Each once, sorted by raw text.
  bool autoZoomsOff = false;
  CopyOnWriteVector<TimelineZoomRegion> hiddenAutoZooms;
  std::optional<TimelineCaptions> captions;

  bool isMuted(TimelineMuteRow row) const;
  void setMuted(TimelineMuteRow row, bool on);
  /// The row that holds the audio clip.
  std::optional<TimelineAudioRow> audioRow(const UUID& id) const;

  /// Whether anything is edited. Captions that are off, and sound files that no clip plays, do not count.
  bool hasEdits() const;
  bool hasClipSpeedEdits() const;
  /// Whether the clips play anything else than the recording from 0 to `duration` at normal speed.
  bool changesPlayback(double duration) const;

  CopyOnWriteVector<TimelineClip> effectiveClips(double duration) const;
  /// Stores the result of an edit of the clips; where the trio already says the same, no list is kept.
  void setClips(std::vector<TimelineClip> clips, double duration);
  /// The edit with the sound that each clip plays written into it: the snapshot's where it has none of its
  /// own.
  TimelineEditSnapshot withClipSounds(double duration) const;
  /// Shows the camera as a bubble in every clip.
  void clearCameraLayouts(double duration);

  /// What one file shows: only its zooms, and only for the main recording (no source) its annotations and
  /// camera clips.
  TimelineEditSnapshot zooms(const std::optional<std::string>& source) const;
  /// The camera clips as they are drawn: inside the recording, clamped, in order of time. Without any, the
  /// fallback for the whole duration.
  std::vector<TimelineCameraClip> resolvedCameraClips(double duration,
                                                      const std::optional<FacecamSettings>& fallback) const;
  /// How the camera shows at a source time; none where it does not.
  std::optional<FacecamSettings> activeCameraSettings(double time, double duration,
                                                      const std::optional<FacecamSettings>& fallback) const;

  /// What the snapshot says apart from identities and from the form of its clips. Two snapshots whose
  /// contents have the same JSON are the same edit.
  TimelineEditSnapshot contentOnly() const;

  friend bool operator==(const TimelineEditSnapshot&, const TimelineEditSnapshot&) = default;
};

void to_json(Json& json, const TimelineEditSnapshot& snapshot);
/// Throws a `JSONError` that names the key.
void from_json(const Json& json, TimelineEditSnapshot& snapshot);

}  // namespace quillant
