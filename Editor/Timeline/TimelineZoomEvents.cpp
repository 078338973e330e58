#include "Editor/Timeline/TimelineZoomEvents.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>

#include "Editor/Timeline/PlaybackTime.h"
#include "Editor/Timeline/SortByStart.h"
#include "Editor/Timeline/TimelineEditState.h"
#include "Editor/Timeline/UnitRange.h"

namespace quillant::TimelineEvents {

namespace {

constexpr double newRegionLength = 1;
constexpr double shortestSpan = 0.1;
constexpr double shortestTypedSpan = 0.3;
constexpr std::array depthSteps = {1.0, 1.25, 1.5, 1.75, 2.0};

template <class Region>
bool holds(const CopyOnWriteVector<Region>& regions, const UUID& id) {
  return std::ranges::find(regions, id, &Region::id) != regions.end();
}

template <class Region, class Change>
void changeRegion(CopyOnWriteVector<Region>& regions, const UUID& id, Change change) {
  if (!holds(regions, id)) return;
  change(*std::ranges::find(regions.mutate(), id, &Region::id));
}

template <class Change>
void changeZoom(TimelineEditState& state, const UUID& id, Change change) {
  changeRegion(state.snapshot.zoomRegions, id, change);
}

/// Adds and selects the zoom unless one of those that `isRival` picks lies where it goes.
template <class IsRival>
bool addZoom(TimelineEditState& state, const TimelineZoomRegion& zoom, IsRival isRival) {
  const auto overlaps = [&](const TimelineZoomRegion& other) {
    return isRival(other) && other.span.start < zoom.span.end && zoom.span.start < other.span.end;
  };
  if (std::ranges::any_of(state.snapshot.zoomRegions, overlaps)) {
    state.statusMessage = "Cannot place zoom on top of another zoom.";
    return false;
  }
  state.snapshot.zoomRegions.mutate().push_back(zoom);
  state.clearSelection();
  state.selectedKind = TimelineRegionKind::zoom;
  state.selectedID = zoom.id;
  return true;
}

TimelineSpan spanAtPlayhead(double time, double duration) {
  TimelineSpan span;
  if (duration < newRegionLength) {
    span.start = std::min(std::max(0.0, time), duration);
    span.end = std::min(span.start + duration, duration);
  } else if (time <= 0) {
    span = {0, newRegionLength};
  } else if (time > duration) {
    span = {duration, duration};
  } else {
    span = {time, std::min(time + newRegionLength, duration)};
  }
  return span.normalized(duration, shortestSpan);
}

}  // namespace

void Add::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) {
    state.statusMessage = "Open a video before adding timeline edits.";
  } else if (kind == TimelineRegionKind::trim) {
    state.clearSelection();
    state.statusMessage = "Use clip splitting instead of trim sections.";
  } else if (kind == TimelineRegionKind::annotation) {
    state.clearSelection();
    state.statusMessage = "Annotations are currently unavailable.";
  } else {
    const TimelineZoomRegion zoom = {.id = UUID::random(), .span = spanAtPlayhead(currentTime, duration)};
    if (addZoom(state, zoom, [](const auto&) { return true; }))
      state.statusMessage = fmt::format("Added zoom at {}.", formatPlaybackTime(zoom.span.start));
  }
}

void AddZoomRegion::apply(TimelineEditState& state) const {
  addZoom(state, region, [this](const auto& other) { return other.source == region.source; });
}

TimelineEditEffects RegenerateAutoZoomsRequested::apply(TimelineEditState& state) const {
  if (videoURL) return {GenerateAutoZooms{*videoURL, duration, preset}};
  state.statusMessage = "Open a recording before generating automatic zooms.";
  return {};
}

void ReplaceAutoZooms::apply(TimelineEditState& state) const {
  auto& edit = state.snapshot;
  std::erase_if(edit.zoomRegions.mutate(),
                [](const auto& zoom) { return zoom.mode == TimelineZoomMode::auto_ && !zoom.source; });
  std::erase_if(edit.hiddenAutoZooms.mutate(), [](const auto& zoom) { return !zoom.source; });
  auto& target = (edit.autoZoomsOff ? edit.hiddenAutoZooms : edit.zoomRegions).mutate();
  for (const auto& zoom : zooms) {
    target.push_back(zoom);
    target.back().mode = TimelineZoomMode::auto_;
  }
  state.clearSelection();
  state.statusMessage = zooms.empty() ? "No clicks found. Add a manual zoom with Z."
                                      : fmt::format("Generated {} automatic {}.", zooms.size(),
                                                    zooms.size() == 1 ? "zoom" : "zooms");
}

void SetAutoZoomsOff::apply(TimelineEditState& state) const {
  auto& edit = state.snapshot;
  if (edit.autoZoomsOff == off) return;
  edit.autoZoomsOff = off;
  auto& shown = edit.zoomRegions.mutate();
  auto& hidden = edit.hiddenAutoZooms.mutate();
  if (off) {
    const auto isManual = [](const auto& zoom) { return zoom.mode == TimelineZoomMode::manual; };
    const auto leaving = std::ranges::stable_partition(shown, isManual);
    hidden.insert(hidden.end(), leaving.begin(), leaving.end());
    shown.erase(leaving.begin(), leaving.end());
    if (state.selectedKind == TimelineRegionKind::zoom && state.selectedID &&
        !holds(edit.zoomRegions, *state.selectedID))
      state.clearSelection();
  } else {
    shown.insert(shown.end(), hidden.begin(), hidden.end());
    sortByStart(shown, [](const auto& zoom) { return zoom.span.start; });
    hidden.clear();
  }
}

void UpdateSpan::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) return;
  const auto setSpan = [this](auto& region) { region.span = span.normalized(duration, shortestSpan); };
  if (kind == TimelineRegionKind::zoom) changeZoom(state, id, setSpan);
  if (kind == TimelineRegionKind::annotation) changeRegion(state.snapshot.annotationRegions, id, setSpan);
}

void UpdateZoomSpan::apply(TimelineEditState& state) const {
  if (!isValidDuration(duration)) return;
  changeZoom(state, id, [this](auto& zoom) {
    zoom.span = TimelineSpan{start, end}.normalized(duration, shortestTypedSpan);
  });
}

void DeepenZoom::apply(TimelineEditState& state) const {
  changeZoom(state, id, [](auto& zoom) {
    const auto distance = [&zoom](double step) { return std::abs(step - zoom.depth); };
    const auto nearest = std::ranges::min_element(depthSteps, {}, distance);
    const auto next = std::ranges::next(nearest);
    zoom.depth = next == depthSteps.end() ? depthSteps.front() : *next;
  });
}

void UpdateZoomDepth::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) { zoom.depth = std::max(1.0, std::min(5.0, depth)); });
}

void UpdateZoomFocus::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) {
    if (focusX) zoom.focusX = clampedToUnit(*focusX);
    if (focusY) zoom.focusY = clampedToUnit(*focusY);
    zoom.mode = TimelineZoomMode::manual;
    zoom.sourceClickTimestamp.reset();
  });
}

namespace {

std::string_view displayName(TimelineZoomAnimationPreset preset) {
  switch (preset) {
    case TimelineZoomAnimationPreset::balanced:
      return "Balanced";
    case TimelineZoomAnimationPreset::subtle:
      return "Subtle";
    case TimelineZoomAnimationPreset::snappy:
      return "Snappy";
    case TimelineZoomAnimationPreset::cinematic:
      return "Cinematic";
    case TimelineZoomAnimationPreset::guided:
      return "Guided";
  }
  return {};
}

}  // namespace

void UpdateZoomAnimationPreset::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) { zoom.animationPreset = preset; });
  state.statusMessage = fmt::format("Set zoom style to {}.", displayName(preset));
}

void UpdateZoomSoftness::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) {
    zoom.softness = softness ? std::optional(clampedToUnit(*softness)) : std::nullopt;
  });
}

void UpdateZoomEasing::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) { zoom.easing = easing; });
}

void UpdateZoomFollowsCursor::apply(TimelineEditState& state) const {
  changeZoom(state, id, [this](auto& zoom) { zoom.followsCursor = followsCursor; });
}

void UpdateAnnotationText::apply(TimelineEditState& state) const {
  changeRegion(state.snapshot.annotationRegions, id, [this](auto& annotation) { annotation.text = text; });
}

}  // namespace quillant::TimelineEvents
