#include "Editor/Timeline/TimelineSelectionEvents.h"

#include <fmt/format.h>
#include <vector>

#include "Editor/Timeline/PlaybackTime.h"
#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineCameraEvents.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditState.h"

namespace quillant::TimelineEvents {

void Select::apply(TimelineEditState& state) const {
  state.clearSelection();
  if (!kind || !id) return;
  state.selectedKind = kind;
  state.selectedID = id;
}

void SelectClip::apply(TimelineEditState& state) const {
  state.clearSelection();
  state.selectedClipID = id;
}

void SelectAudioClip::apply(TimelineEditState& state) const {
  state.clearSelection();
  state.selectedAudioClipID = id;
}

void SelectCameraClip::apply(TimelineEditState& state) const {
  state.clearSelection();
  state.selectedCameraClipID = id;
}

void ToggleSelected::apply(TimelineEditState& state) const {
  state.toggleSelected(item);
}

void ClearSelection::apply(TimelineEditState& state) const {
  state.clearSelection();
}

namespace {

using IDs = TimelineEditState::IDs;

struct SelectedIDs {
  IDs clips, zooms, audio;
};

SelectedIDs selectedIDs(const TimelineEditState& state) {
  SelectedIDs ids;
  for (const auto& item : state.selectedItems()) switch (item.kind) {
      case TimelineSelectedItem::Kind::clip:
        ids.clips.insert(item.id);
        break;
      case TimelineSelectedItem::Kind::zoom:
        ids.zooms.insert(item.id);
        break;
      case TimelineSelectedItem::Kind::audio:
        ids.audio.insert(item.id);
        break;
    }
  return ids;
}

/// Splits the clip under the playhead if it is one of `ids`. Returns the second half.
std::optional<TimelineSelectedItem> splitClip(TimelineEditState& state, const IDs& ids, double outputTime,
                                              double duration) {
  if (ids.empty() || !isValidDuration(duration)) return std::nullopt;
  const auto clips = state.snapshot.effectiveClips(duration);
  const auto under = TimelineClipList::index(clips, outputTime);
  if (!under || !ids.contains(clips[*under].id)) return std::nullopt;
  auto split = TimelineClipList::split(clips, outputTime);
  if (!split) return std::nullopt;
  const auto second = (*split)[*under + 1].id;
  state.storeClips(std::move(*split), duration);
  return TimelineSelectedItem::clip(second);
}

std::optional<TimelineSelectedItem> splitAudioClip(TimelineEditState& state, const IDs& ids,
                                                   TimelineAudioRow which, double outputTime) {
  std::optional<TimelineSelectedItem> second;
  state.editAudio({}, which, [&](const auto& row) {
    const auto under = TimelineAudioTrack::index(row, outputTime);
    auto split =
        under && ids.contains(row[*under].id) ? TimelineAudioTrack::split(row, outputTime) : std::nullopt;
    if (split) second = TimelineSelectedItem::audio((*split)[*under + 1].id);
    return split;
  });
  return second;
}

}  // namespace

void SplitSelected::apply(TimelineEditState& state) const {
  const auto selected = selectedIDs(state);
  std::vector<TimelineSelectedItem> seconds;
  for (const auto& second : {splitClip(state, selected.clips, outputTime, duration),
                             splitAudioClip(state, selected.audio, TimelineAudioRow::voice, outputTime),
                             splitAudioClip(state, selected.audio, TimelineAudioRow::music, outputTime)})
    if (second) seconds.push_back(*second);
  if (seconds.empty()) {
    state.statusMessage = "Select a clip under the playhead to split it.";
    return;
  }
  state.setSelection(seconds);
  state.statusMessage = fmt::format("Split at {}.", formatPlaybackTime(outputTime));
}

void DeleteSelection::apply(TimelineEditState& state) const {
  if (state.selectedCameraClipID)
    return DeleteCameraClip{.id = *state.selectedCameraClipID, .duration = duration.value_or(0)}.apply(state);
  if (state.selectedKind == TimelineRegionKind::annotation && state.selectedID) {
    std::erase_if(state.snapshot.annotationRegions.mutate(),
                  [&](const auto& annotation) { return annotation.id == state.selectedID; });
    state.clearSelection();
    state.statusMessage = "Deleted annotation.";
    return;
  }

  const auto [clips, zooms, audio] = selectedIDs(state);
  if (!zooms.empty())
    std::erase_if(state.snapshot.zoomRegions.mutate(),
                  [&ids = zooms](const auto& zoom) { return ids.contains(zoom.id); });
  if (!audio.empty())
    for (const auto row : {TimelineAudioRow::voice, TimelineAudioRow::music})
      state.editAudio(
          {}, row, [&ids = audio](const auto& sounds) { return TimelineAudioTrack::delete_(sounds, ids); });
  const std::optional<std::size_t> clipsDeleted = duration ? state.deleteClips(clips, *duration) : 0u;
  state.clearSelection();

  const auto count = clipsDeleted.value_or(0) + zooms.size() + audio.size();
  if (!clipsDeleted || count == 0) return;  // A refusal is what the user should read.
  if (count > 1)
    state.statusMessage = fmt::format("Deleted {} items.", count);
  else
    state.statusMessage = *clipsDeleted   ? "Deleted clip."
                          : zooms.empty() ? "Deleted audio clip."
                                          : "Deleted zoom.";
}

}  // namespace quillant::TimelineEvents
