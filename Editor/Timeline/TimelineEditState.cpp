#include "Editor/Timeline/TimelineEditState.h"

#include <algorithm>
#include <functional>
#include <type_traits>
#include <utility>

#include "Editor/Timeline/TimelineAudioTrack.h"
#include "Editor/Timeline/TimelineClipList.h"
#include "Editor/Timeline/TimelineEditEvent.h"

namespace quillant {

namespace {

template <class Records>
bool holds(const Records& records, const UUID& id) {
  return std::ranges::any_of(records, [&id](const auto& record) { return record.id == id; });
}

}  // namespace

TimelineEditEffects TimelineEditState::applying(const TimelineEditEvent& event) {
  return std::visit(
      [this](const auto& rule) -> TimelineEditEffects {
        if constexpr (std::is_void_v<decltype(rule.apply(*this))>) {
          rule.apply(*this);
          return {};
        } else {
          return rule.apply(*this);
        }
      },
      event.rule);
}

void TimelineEditState::clearSelection() {
  additionalSelection.clear();
  selectedKind.reset();
  selectedID.reset();
  selectedClipID.reset();
  selectedCameraClipID.reset();
  selectedAudioClipID.reset();
}

bool TimelineEditState::exists(const TimelineSelectedItem& item) const {
  switch (item.kind) {
    case TimelineSelectedItem::Kind::clip:
      return true;  // Which clips there are depends on a duration; the rules keep clips' ids valid.
    case TimelineSelectedItem::Kind::zoom:
      return holds(snapshot.zoomRegions, item.id);
    case TimelineSelectedItem::Kind::audio:
      return snapshot.audioRow(item.id).has_value();
  }
  return false;
}

std::vector<TimelineSelectedItem> TimelineEditState::selectedItems() const {
  std::vector<TimelineSelectedItem> items;
  const auto add = [&](const TimelineSelectedItem& item) {
    if (std::ranges::find(items, item) == items.end() && exists(item)) items.push_back(item);
  };
  if (selectedClipID) add(TimelineSelectedItem::clip(*selectedClipID));
  if (selectedID && selectedKind == TimelineRegionKind::zoom) add(TimelineSelectedItem::zoom(*selectedID));
  if (selectedAudioClipID) add(TimelineSelectedItem::audio(*selectedAudioClipID));
  for (const auto& item : additionalSelection) add(item);
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
  const auto isGone = [&](const UUID& id) { return !holds(clips, id); };
  if (selectedClipID && isGone(*selectedClipID)) selectedClipID.reset();
  std::erase_if(additionalSelection, [&](const auto& item) {
    return item.kind == TimelineSelectedItem::Kind::clip && isGone(item.id);
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

std::optional<std::size_t> TimelineEditState::deleteClips(const std::vector<UUID>& ids, double duration) {
  if (!isValidDuration(duration)) return 0;
  const auto clips = snapshot.effectiveClips(duration);
  const auto placed = TimelineClipList::placed(clips);
  Clips kept;
  kept.reserve(clips.size());
  std::vector<TimelineSpan> removed;
  for (std::size_t i = 0; i < clips.size(); ++i) {
    if (std::ranges::find(ids, clips[i].id) == ids.end())
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
  rippleVoiceRow(std::move(removed));
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

void TimelineEditState::rippleVoiceRow(std::vector<TimelineSpan> removing) {
  // From the last one on, so that no removal moves a stretch that is still to come.
  std::ranges::sort(removing, std::greater<>(), &TimelineSpan::start);
  for (const auto& span : removing)
    editAudio({}, TimelineAudioRow::voice, [&span](const AudioClips& row) {
      return TimelineAudioTrack::removeTime(row, span.start, span.end);
    });
}

}  // namespace quillant
