#pragma once

#include <string>
#include <variant>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineAudioClip.h"
#include "Editor/Timeline/TimelineAudioSource.h"
#include "Editor/Timeline/TimelineClip.h"

namespace quillant {

struct TimelineEditState;

/// The events of the voice row and of the music row. Times are output seconds. Those that name a clip act on
/// the row that holds it.
namespace TimelineEvents {

/// Lays a clip on the voice row, at the first free place from its start on.
struct AddAudioClip {
  TimelineAudioClip clip;
  TimelineAudioSource source;

  void apply(TimelineEditState& state) const;
};

struct DeleteAudioClip {
  UUID id;

  void apply(TimelineEditState& state) const;
};

/// Leaves a gap in the voice row.
struct DeleteAudioRange {
  double start = 0;
  double end = 0;

  void apply(TimelineEditState& state) const;
};

struct TrimAudioClip {
  UUID id;
  TimelineClipEdge edge = TimelineClipEdge::leading;
  double time = 0;

  void apply(TimelineEditState& state) const;
};

struct MoveAudioClip {
  UUID id;
  double toStart = 0;

  void apply(TimelineEditState& state) const;
};

struct SetAudioClipSpeed {
  UUID id;
  double speed = 1;

  void apply(TimelineEditState& state) const;
};

/// On the music row every clip of the song takes the volume, 0...1.
struct SetAudioClipVolume {
  UUID id;
  double volume = 1;

  void apply(TimelineEditState& state) const;
};

/// On the music row every clip of the song.
struct SetAudioClipMuted {
  UUID id;
  bool muted = false;

  void apply(TimelineEditState& state) const;
};

struct SetAudioClipCleanup {
  UUID id;
  bool on = false;

  void apply(TimelineEditState& state) const;
};

struct SetAllVoiceClips {
  double volume = 1;  ///< 0...1
  bool muted = false;
  bool cleanup = false;

  void apply(TimelineEditState& state) const;
};

/// Lays the clips on the music row, each at the first free place from its start on.
struct AddMusicClips {
  std::vector<TimelineAudioClip> clips;
  TimelineAudioSource source;

  void apply(TimelineEditState& state) const;
};

/// Leaves a gap in the music row.
struct DeleteMusicRange {
  double start = 0;
  double end = 0;

  void apply(TimelineEditState& state) const;
};

struct ReplaceMusicRow {
  std::vector<TimelineAudioClip> clips;
  std::string status;  ///< What the user reads once the row is another.

  void apply(TimelineEditState& state) const;
};

using AudioEvents =
    std::variant<AddAudioClip, DeleteAudioClip, DeleteAudioRange, TrimAudioClip, MoveAudioClip,
                 SetAudioClipSpeed, SetAudioClipVolume, SetAudioClipMuted, SetAudioClipCleanup,
                 SetAllVoiceClips, AddMusicClips, DeleteMusicRange, ReplaceMusicRow>;

}  // namespace TimelineEvents
}  // namespace quillant
