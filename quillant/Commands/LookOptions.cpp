#include "quillant/Commands/LookOptions.h"

#include <algorithm>
#include <utility>

#include "Editor/Coordinator/EditorCoordinator.h"
#include "Editor/Export/VideoExportRendererError.h"
#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

void removeFraming(ProjectVideoEditorState& video) {
  video.background = TransparentBackground();
  video.padding = video.borderRadius = video.shadow = video.backgroundBlur = video.inset = 0;
}

void makePlain(EditorCoordinator& coordinator) {
  coordinator.changeFacecam([](FacecamSettings& camera) { camera.enabled = false; });
  auto video = coordinator.video();
  removeFraming(video);
  video.cropSelection = {};
  video.cursorOverlay.isVisible = false;
  coordinator.setVideo(std::move(video));
  coordinator.driver().applySnapshot({});
}

std::vector<TimelineSpan> united(std::vector<TimelineSpan> spans) {
  std::ranges::sort(spans, {}, &TimelineSpan::start);
  std::vector<TimelineSpan> result;
  for (const auto& span : spans) {
    if (!result.empty() && span.start <= result.back().end)
      result.back().end = std::max(result.back().end, span.end);
    else
      result.push_back(span);
  }
  return result;
}

/// Where a time lies when the cuts are made.
double afterCuts(double time, const std::vector<TimelineSpan>& cuts) {
  double removed = 0;
  for (const auto& cut : cuts)
    if (cut.start < time) removed += std::min(time, cut.end) - cut.start;
  return time - removed;
}

}  // namespace

void LookOptions::apply(EditorCoordinator& coordinator) const {
  if (isPlain) makePlain(coordinator);
  auto video = coordinator.video();
  if (background) {
    if (std::holds_alternative<TransparentBackground>(*background)) removeFraming(video);
    video.background = *background;
  }
  video.padding = padding.value_or(video.padding);
  video.borderRadius = cornerRadius.value_or(video.borderRadius);
  video.shadow = shadow.value_or(video.shadow);
  video.inset = inset.value_or(video.inset);
  if (cursor) {
    video.cursorOverlay.isVisible = cursor->style.has_value();
    video.cursorOverlay.styleID = cursor->style.value_or(video.cursorOverlay.styleID);
    video.cursorOverlay.size = cursor->size.value_or(video.cursorOverlay.size);
  }
  coordinator.setVideo(std::move(video));

  if (camera)
    coordinator.changeFacecam([this](FacecamSettings& settings) {
      settings.enabled = camera != none;
      if (settings.enabled) settings.anchor = *camera;
    });
  if (zoom == none) {
    auto edits = coordinator.edits();
    edits.zoomRegions = {};
    coordinator.driver().applySnapshot(edits);
  } else if (zoom) {
    coordinator.driver().send(TimelineEvents::SetAutoZoomsOff{false}, RecordsUndo::no);
    coordinator.generateAutoZooms(*zoom);
  }

  if (captions) {
    coordinator.setCaptionsOn(true);
    coordinator.setCaptionStyle(*captions);
  }

  // From the end to the start: what is changed moves nothing before it.
  const auto pieces = united(cuts);
  for (auto cut = pieces.rbegin(); cut != pieces.rend(); ++cut) {
    const double before = coordinator.editedDuration();
    coordinator.deleteOutputRange(cut->start, cut->end);
    if (coordinator.editedDuration() == before)
      throw VideoExportRendererError(VideoExportRendererError::Kind::emptyTimeline);
  }
  auto later = speeds;
  std::ranges::sort(later, std::ranges::greater(), [](const Speed& speed) { return speed.span.start; });
  for (const auto& [span, speed] : later) {
    const TimelineSpan left{afterCuts(span.start, pieces), afterCuts(span.end, pieces)};
    // Cuts may leave too little of it to be a clip.
    if (isLongEnoughForClip(left.length()) || !isLongEnoughForClip(span.length()))
      coordinator.setSpeed(left.start, left.end, speed);
  }
}

}  // namespace quillant
