#include "Editor/Timeline/TimelineCameraEvents.h"

#include <algorithm>
#include <fmt/format.h>

#include "Editor/Timeline/PlaybackTime.h"
#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant::TimelineEvents {

void EnsureCameraClips::apply(TimelineEditState& state) const {
  auto& clips = state.snapshot.cameraClips;
  if (clips.empty()) clips = state.snapshot.resolvedCameraClips(duration, fallback);
}

void SplitCameraClip::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration) || (state.snapshot.cameraClips.empty() && !fallback)) {
    state.statusMessage = "Record with camera before splitting camera settings.";
    return;
  }
  const double margin = std::min(duration * 0.25, minimumClipLength);
  const double time = std::min(std::max(0.0, currentTime), duration);
  if (!(margin < time && time < duration - margin)) {
    state.statusMessage = "Move the playhead inside the camera clip before splitting.";
    return;
  }
  auto clips = state.snapshot.resolvedCameraClips(duration, fallback);
  const auto under = std::ranges::find_if(clips, [&](const TimelineCameraClip& clip) {
    return clip.span.start + margin < time && time < clip.span.end - margin;
  });
  if (under == clips.end()) {
    state.statusMessage = fmt::format("There is already a camera split at {}.", formatPlaybackTime(time));
    return;
  }
  auto second = *under;
  second.id = UUID::random();
  second.span.start = time;
  under->span.end = time;
  clips.insert(under + 1, std::move(second));
  state.snapshot.cameraClips = std::move(clips);
  state.clearSelection();
  state.statusMessage = fmt::format("Split camera at {}.", formatPlaybackTime(time));
}

void UpdateCameraClipSettings::apply(TimelineEditState& state) const {
  auto& clips = state.snapshot.cameraClips;
  if (std::ranges::find(clips, id, &TimelineCameraClip::id) == clips.end()) return;
  std::ranges::find(clips.mutate(), id, &TimelineCameraClip::id)->settings = settings.clamped();
  state.statusMessage = "Updated camera settings.";
}

void MergeCameraClip::apply(TimelineEditState& state) const {
  std::vector<TimelineCameraClip> clips = state.snapshot.cameraClips;
  sortByStart(clips, [](const TimelineCameraClip& clip) { return clip.span.start; });
  const auto clip = std::ranges::find(clips, id, &TimelineCameraClip::id);
  const bool backward = direction == TimelineCameraMergeDirection::previous;
  if (clip == clips.end() || clip == (backward ? clips.begin() : clips.end() - 1)) return;

  const auto neighbour = backward ? clip - 1 : clip + 1;
  clip->span = {std::min(clip->span.start, neighbour->span.start),
                std::max(clip->span.end, neighbour->span.end)};
  clips.erase(neighbour);
  state.snapshot.cameraClips = std::move(clips);
  state.clearSelection();
  state.selectedCameraClipID = id;
  state.statusMessage = "Merged camera clips.";
}

void DeleteCameraClip::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) {
    state.statusMessage = "Open a video before deleting a camera clip.";
    return;
  }
  const auto resolved = state.snapshot.resolvedCameraClips(duration, fallback);
  const auto holds = [this](const std::vector<TimelineCameraClip>& clips) {
    return std::ranges::find(clips, id, &TimelineCameraClip::id) != clips.end();
  };
  if (resolved.size() < 2) {
    state.statusMessage = "Cannot delete the only camera clip.";
  } else if (!holds(resolved)) {
    state.statusMessage = "Selected camera clip is no longer available.";
  } else if (!holds(state.snapshot.cameraClips)) {
    state.statusMessage = "Camera clip is already deleted.";
  } else {
    std::erase_if(state.snapshot.cameraClips.mutate(), [this](const auto& clip) { return clip.id == id; });
    if (state.selectedCameraClipID == id) state.clearSelection();
    state.statusMessage = "Deleted camera clip.";
  }
}

}  // namespace quillant::TimelineEvents
