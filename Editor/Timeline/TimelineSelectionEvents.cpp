#include "Editor/Timeline/TimelineSelectionEvents.h"

#include <algorithm>
#include <fmt/format.h>
#include <vector>

#include "Editor/Timeline/PlaybackTime.h"
#include "Editor/Timeline/TimelineAudioEvents.h"
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

/// Splits a clip that is under the playhead. Returns the second half.
std::optional<TimelineSelectedItem> splitClip(TimelineEditState& state, const UUID& id, double outputTime,
                                              double duration) {
  if (!isValidDuration(duration)) return std::nullopt;
  const auto clips = state.snapshot.effectiveClips(duration);
  const auto under = TimelineClipList::index(clips, outputTime);
  if (!under || clips[*under].id != id) return std::nullopt;
  auto split = TimelineClipList::split(clips, outputTime);
  if (!split) return std::nullopt;
  const auto second = (*split)[*under + 1].id;
  state.storeClips(std::move(*split), duration);
  return TimelineSelectedItem::clip(second);
}

std::optional<TimelineSelectedItem> splitAudioClip(TimelineEditState& state, const UUID& id,
                                                   double outputTime) {
  std::optional<TimelineSelectedItem> second;
  state.editAudioClip({}, id, [&](const auto& row) {
    const auto under = TimelineAudioTrack::index(row, outputTime);
    auto split = under && row[*under].id == id ? TimelineAudioTrack::split(row, outputTime) : std::nullopt;
    if (split) second = TimelineSelectedItem::audio((*split)[*under + 1].id);
    return split;
  });
  return second;
}

}  // namespace

void SplitSelected::apply(TimelineEditState& state) const {
  std::vector<TimelineSelectedItem> seconds;
  for (const auto& item : state.selectedItems()) {
    std::optional<TimelineSelectedItem> second;
    if (item.kind == TimelineSelectedItem::Kind::clip)
      second = splitClip(state, item.id, outputTime, duration);
    else if (item.kind == TimelineSelectedItem::Kind::audio)
      second = splitAudioClip(state, item.id, outputTime);
    if (second) seconds.push_back(*second);
  }
  if (seconds.empty()) {
    state.statusMessage = "Select a clip under the playhead to split it.";
    return;
  }
  state.setSelection(seconds);
  state.statusMessage = fmt::format("Split at {}.", formatPlaybackTime(outputTime));
}

namespace {

std::string deletedStatus(const std::vector<TimelineSelectedItem::Kind>& deleted) {
  if (deleted.size() > 1) return fmt::format("Deleted {} items.", deleted.size());
  switch (deleted.front()) {
    case TimelineSelectedItem::Kind::clip:
      return "Deleted clip.";
    case TimelineSelectedItem::Kind::zoom:
      return "Deleted zoom.";
    case TimelineSelectedItem::Kind::audio:
      return "Deleted audio clip.";
  }
  return {};
}

}  // namespace

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

  std::vector<TimelineSelectedItem::Kind> deleted;
  std::vector<UUID> clips, zooms;
  for (const auto& item : state.selectedItems()) {
    if (item.kind == TimelineSelectedItem::Kind::clip) {
      clips.push_back(item.id);
    } else if (item.kind == TimelineSelectedItem::Kind::zoom) {
      zooms.push_back(item.id);
      deleted.push_back(item.kind);
    } else {
      DeleteAudioClip{item.id}.apply(state);
      deleted.push_back(item.kind);
    }
  }
  if (!zooms.empty())
    std::erase_if(state.snapshot.zoomRegions.mutate(),
                  [&](const auto& zoom) { return std::ranges::find(zooms, zoom.id) != zooms.end(); });

  const std::optional<std::size_t> clipsDeleted = duration ? state.deleteClips(clips, *duration) : 0u;
  deleted.insert(deleted.end(), clipsDeleted.value_or(0), TimelineSelectedItem::Kind::clip);
  state.clearSelection();
  // A refusal is what the user should read.
  if (clipsDeleted && !deleted.empty()) state.statusMessage = deletedStatus(deleted);
}

}  // namespace quillant::TimelineEvents
