#include "Editor/Timeline/TimelineAudioEvents.h"

#include <algorithm>

#include "Editor/Timeline/ChangedRecords.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Editor/Timeline/TimelineMusic.h"
#include "Editor/Timeline/UnitRange.h"

namespace quillant::TimelineEvents {

using TimelineAudioTrack::Row;

namespace {

void addSource(TimelineEditState& state, const TimelineAudioSource& source) {
  auto& sources = state.snapshot.audioSources;
  if (std::ranges::find(sources, source.id, &TimelineAudioSource::id) == sources.end())
    sources.mutate().push_back(source);
}

void selectAudioClip(TimelineEditState& state, const UUID& id) {
  state.clearSelection();
  state.selectedAudioClipID = id;
}

std::optional<bool> cleanupChoice(bool on) {
  return on ? std::optional(true) : std::nullopt;
}

}  // namespace

void AddAudioClip::apply(TimelineEditState& state) const {
  addSource(state, source);
  state.snapshot.audioClips = TimelineAudioTrack::placing(clip, state.snapshot.audioClips);
  selectAudioClip(state, clip.id);
  state.statusMessage = "Added " + source.displayName + ".";
}

void DeleteAudioClip::apply(TimelineEditState& state) const {
  state.editAudioClip({}, id, [this](const Row& row) { return TimelineAudioTrack::delete_(row, {id}); });
}

void DeleteAudioRange::apply(TimelineEditState& state) const {
  state.editAudio({}, TimelineAudioRow::voice,
                  [this](const Row& row) { return TimelineAudioTrack::deleteRange(row, start, end); });
}

void TrimAudioClip::apply(TimelineEditState& state) const {
  state.editAudioClip("That clip can't be trimmed further.", id,
                      [this](const Row& row) { return TimelineAudioTrack::trim(row, id, edge, time); });
}

void MoveAudioClip::apply(TimelineEditState& state) const {
  state.editAudioClip({}, id, [this](const Row& row) { return TimelineAudioTrack::move(row, id, toStart); });
}

void SetAudioClipSpeed::apply(TimelineEditState& state) const {
  state.editAudioClip({}, id,
                      [this](const Row& row) { return TimelineAudioTrack::setSpeed(row, id, speed); });
}

void SetAudioClipVolume::apply(TimelineEditState& state) const {
  const bool wholeSong = state.snapshot.audioRow(id) == TimelineAudioRow::music;
  const auto set = wholeSong ? TimelineMusic::setVolume : TimelineAudioTrack::setVolume;
  state.editAudioClip({}, id, [&](const Row& row) { return set(row, id, clampedToUnit(volume)); });
}

void SetAudioClipMuted::apply(TimelineEditState& state) const {
  const bool wholeSong = state.snapshot.audioRow(id) == TimelineAudioRow::music;
  const auto set = wholeSong ? TimelineMusic::setMuted : TimelineAudioTrack::setMuted;
  state.editAudioClip({}, id, [&](const Row& row) { return set(row, id, muted); });
}

void SetAudioClipCleanup::apply(TimelineEditState& state) const {
  const auto choose = [this](TimelineAudioClip& clip) {
    if (clip.id == id) clip.voiceCleanup = cleanupChoice(on);
  };
  state.editAudioClip({}, id, [&](const Row& row) { return changedRecords(row, choose); });
}

void SetAllVoiceClips::apply(TimelineEditState& state) const {
  const auto choose = [this](TimelineAudioClip& clip) {
    clip.volume = clampedToUnit(volume);
    clip.muted = muted;
    clip.voiceCleanup = cleanupChoice(cleanup);
  };
  state.editAudio({}, TimelineAudioRow::voice, [&](const Row& row) { return changedRecords(row, choose); });
}

void AddMusicClips::apply(TimelineEditState& state) const {
  if (clips.empty()) return;
  addSource(state, source);
  state.snapshot.musicClips = TimelineAudioTrack::placing(clips, state.snapshot.musicClips);
  selectAudioClip(state, clips.front().id);
  state.statusMessage = "Added " + source.displayName + " to the music row.";
}

void DeleteMusicRange::apply(TimelineEditState& state) const {
  state.editAudio({}, TimelineAudioRow::music,
                  [this](const Row& row) { return TimelineAudioTrack::deleteRange(row, start, end); });
}

void ReplaceMusicRow::apply(TimelineEditState& state) const {
  auto row = TimelineAudioTrack::normalized(clips);
  if (row == *state.snapshot.musicClips) return;
  state.clearSelection();
  if (!row.empty()) state.selectedAudioClipID = row.front().id;
  state.snapshot.musicClips = std::move(row);
  state.statusMessage = status;
}

}  // namespace quillant::TimelineEvents
