#include "Editor/Timeline/TimelineEditState.h"

#include <algorithm>
#include <map>
#include <utility>

#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"

namespace quillant {

namespace {

using Item = TimelineSelectedItem;
using IDs = TimelineEditState::IDs;

/// Leaves the ids that a record has. One pass over the records, however many ids there are.
template <class... Records>
void keepPresent(IDs& ids, const Records&... records) {
  if (ids.empty()) return;
  IDs present;
  const auto look = [&](const auto& list) {
    for (const auto& record : list)
      if (ids.contains(record.id)) present.insert(record.id);
  };
  (look(records), ...);
  ids = std::move(present);
}

}  // namespace

void TimelineEditState::clearSelection() {
  additionalSelection.clear();
  selectedKind.reset();
  selectedID.reset();
  selectedClipID.reset();
  selectedCameraClipID.reset();
  selectedAudioClipID.reset();
}

std::vector<TimelineSelectedItem> TimelineEditState::selectedItems() const {
  std::vector<Item> items;
  if (selectedClipID) items.push_back(Item::clip(*selectedClipID));
  if (selectedID && selectedKind == TimelineRegionKind::zoom) items.push_back(Item::zoom(*selectedID));
  if (selectedAudioClipID) items.push_back(Item::audio(*selectedAudioClipID));
  items.insert(items.end(), additionalSelection.begin(), additionalSelection.end());

  std::map<Item::Kind, IDs> left;
  for (const auto& item : items) left[item.kind].insert(item.id);
  // Which clips there are depends on a duration; the rules keep clips' ids valid.
  keepPresent(left[Item::Kind::zoom], snapshot.zoomRegions);
  keepPresent(left[Item::Kind::audio], snapshot.audioClips, snapshot.musicClips);
  std::erase_if(items, [&](const Item& item) { return left[item.kind].erase(item.id) == 0; });
  return items;
}

void TimelineEditState::setSelection(const std::vector<TimelineSelectedItem>& items) {
  clearSelection();
  if (items.empty()) return;
  const auto& primary = items.front();
  switch (primary.kind) {
    case TimelineSelectedItem::Kind::clip:
      selectedClipID = primary.id;
      break;
    case TimelineSelectedItem::Kind::zoom:
      selectedKind = TimelineRegionKind::zoom;
      selectedID = primary.id;
      break;
    case TimelineSelectedItem::Kind::audio:
      selectedAudioClipID = primary.id;
      break;
  }
  additionalSelection.assign(items.begin() + 1, items.end());
}

void TimelineEditState::toggleSelected(const TimelineSelectedItem& item) {
  auto items = selectedItems();
  if (std::erase(items, item) == 0) items.push_back(item);
  setSelection(items);
}

void TimelineEditState::storeClips(Clips clips, double duration) {
  IDs selected;
  if (selectedClipID) selected.insert(*selectedClipID);
  for (const auto& item : additionalSelection)
    if (item.kind == Item::Kind::clip) selected.insert(item.id);
  keepPresent(selected, clips);
  if (selectedClipID && !selected.contains(*selectedClipID)) selectedClipID.reset();
  std::erase_if(additionalSelection, [&](const Item& item) {
    return item.kind == Item::Kind::clip && !selected.contains(item.id);
  });
  snapshot.setClips(std::move(clips), duration);
}

bool TimelineEditState::editClips(std::string_view refused, double duration,
                                  const std::function<std::optional<Clips>(const Clips&)>& body) {
  if (!isValidDuration(duration)) {
    statusMessage = noVideoStatus;
    return false;
  }
  auto clips = body(*snapshot.effectiveClips(duration));
  if (!clips) {
    if (!refused.empty()) statusMessage = refused;
    return false;
  }
  storeClips(std::move(*clips), duration);
  return true;
}

std::optional<std::size_t> TimelineEditState::deleteClips(const IDs& ids, double duration) {
  if (!isValidDuration(duration)) return 0;
  const auto clips = snapshot.effectiveClips(duration);
  const auto placed = TimelineClipList::placed(clips);
  Clips kept;
  kept.reserve(clips.size());
  std::vector<TimelineSpan> removed;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    if (!ids.contains(clips[i].id))
      kept.push_back(clips[i]);
    else
      removed.push_back(placed[i]);
  }
  if (removed.empty()) return 0;
  if (kept.empty()) {
    statusMessage = "Cannot delete the only playable clip.";
    return std::nullopt;
  }
  storeClips(std::move(kept), duration);
  const auto count = removed.size();
  rippleVoiceRow(removed);
  return count;
}

CopyOnWriteVector<TimelineAudioClip>& TimelineEditState::audioClips(TimelineAudioRow row) {
  return row == TimelineAudioRow::voice ? snapshot.audioClips : snapshot.musicClips;
}

bool TimelineEditState::editAudio(std::string_view refused, TimelineAudioRow row,
                                  const std::function<std::optional<AudioClips>(const AudioClips&)>& body) {
  auto clips = body(*audioClips(row));
  if (!clips) {
    if (!refused.empty()) statusMessage = refused;
    return false;
  }
  audioClips(row) = std::move(*clips);
  if (selectedAudioClipID && !snapshot.audioRow(*selectedAudioClipID)) selectedAudioClipID.reset();
  return true;
}

bool TimelineEditState::editAudioClip(
    std::string_view refused, const UUID& id,
    const std::function<std::optional<AudioClips>(const AudioClips&)>& body) {
  const auto row = snapshot.audioRow(id);
  return row && editAudio(refused, *row, body);
}

void TimelineEditState::rippleVoiceRow(const std::vector<TimelineSpan>& removing) {
  editAudio({}, TimelineAudioRow::voice,
            [&](const AudioClips& row) { return TimelineAudioTrack::removeTimes(row, removing); });
}

}  // namespace quillant
