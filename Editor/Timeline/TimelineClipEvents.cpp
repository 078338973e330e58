#include "Editor/Timeline/TimelineClipEvents.h"

#include <algorithm>
#include <iterator>

#include "Editor/Timeline/ChangedRecords.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Editor/Timeline/TimelineTolerances.h"
#include "Editor/Timeline/UnitRange.h"

namespace quillant::TimelineEvents {

using TimelineClipList::Clips;

void SplitClip::apply(TimelineEditState& state) const {
  state.editClips("Move the playhead inside a clip before splitting.", duration,
                  [this](const Clips& clips) { return TimelineClipList::split(clips, outputTime); });
}

void DeleteClip::apply(TimelineEditState& state) const {
  state.deleteClips({id}, duration);
  if (state.selectedClipID == id) state.selectedClipID.reset();
}

void DeleteOutputRange::apply(TimelineEditState& state) const {
  double before = 0;
  const bool cut = state.editClips("Nothing would be left to play.", duration, [&](const Clips& clips) {
    before = TimelineClipList::outputDuration(clips);
    return TimelineClipList::deleteOutputRange(clips, start, end);
  });
  const double low = std::max(std::min(start, end), 0.0);
  const double high = std::min(std::max(start, end), before);
  if (cut && low < high) state.rippleVoiceRow({{low, high}});
}

void TrimClip::apply(TimelineEditState& state) const {
  TimelineSpan output;
  double lost = 0;
  bool found = false;
  const auto trim = [&](const Clips& clips) -> std::optional<Clips> {
    const auto clip = std::ranges::find(clips, id, &TimelineClip::id);
    found = clip != clips.end();
    if (!found) return std::nullopt;
    const auto at = static_cast<std::size_t>(clip - clips.begin());
    output = TimelineClipList::placed(clips)[at];
    auto trimmed = TimelineClipList::trim(clips, id, edge, outputTime);
    if (trimmed) lost = output.length() - (*trimmed)[at].outputLength();
    return trimmed;
  };
  if (!state.editClips({}, duration, trim)) {
    if (found) state.statusMessage = "That clip can't be trimmed further.";
  } else if (lost > timeTolerance) {
    const double from = edge == TimelineClipEdge::leading ? output.start : output.end - lost;
    state.rippleVoiceRow({{from, from + lost}});
  }
}

void SetClipSpeed::apply(TimelineEditState& state) const {
  state.editClips({}, duration,
                  [this](const Clips& clips) { return TimelineClipList::setSpeed(clips, id, speed); });
}

void AddClip::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) return;
  auto& edit = state.snapshot;
  if (std::ranges::find(edit.sources, source.id, &TimelineSource::id) == edit.sources.end())
    edit.sources.mutate().push_back(source);
  for (const auto& zoom : zooms) {
    const bool hidden = edit.autoZoomsOff && zoom.mode == TimelineZoomMode::auto_;
    (hidden ? edit.hiddenAutoZooms : edit.zoomRegions).mutate().push_back(zoom);
  }
  auto clips = *edit.effectiveClips(duration);
  const auto count = static_cast<std::int64_t>(clips.size());
  clips.insert(clips.begin() + std::clamp<std::int64_t>(index.value_or(count), 0, count), clip);
  state.storeClips(std::move(clips), duration);
  state.clearSelection();
  state.selectedClipID = clip.id;
  state.statusMessage = "Added " + source.displayName + ".";
}

void MoveClip::apply(TimelineEditState& state) const {
  state.editClips({}, duration,
                  [this](const Clips& clips) { return TimelineClipList::move(clips, id, toIndex); });
}

void SetClipSounds::apply(TimelineEditState& state) const {
  const auto choose = [this](TimelineClip& clip) {
    const auto chosen = sounds.find(clip.id);
    if (chosen == sounds.end()) return;
    auto sound = chosen->second;
    sound.micVolume = clampedToUnit(sound.micVolume);
    sound.systemVolume = clampedToUnit(sound.systemVolume);
    clip.sound = sound == TimelineRecordingSound() ? std::nullopt : std::optional(sound);
  };
  state.editClips({}, duration, [&](const Clips& clips) { return changedRecords(clips, choose); });
}

void SetClipCameraLayout::apply(TimelineEditState& state) const {
  const auto choose = [this](TimelineClip& clip) {
    if (clip.id != id) return;
    clip.cameraHidden.reset();
    clip.cameraFullScreen.reset();
    if (layout == TimelineCameraLayout::hidden) clip.cameraHidden = true;
    if (layout == TimelineCameraLayout::fullScreen) clip.cameraFullScreen = true;
  };
  state.editClips({}, duration, [&](const Clips& clips) { return changedRecords(clips, choose); });
}

}  // namespace quillant::TimelineEvents
