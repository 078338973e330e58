#include "Editor/Timeline/TimelineCaptionEvents.h"

#include "Editor/Timeline/TimelineEditState.h"

namespace quillant::TimelineEvents {

namespace {

TimelineCaptions& captions(TimelineEditState& state) {
  auto& existing = state.snapshot.captions;
  return existing ? *existing : existing.emplace();
}

}  // namespace

void SetCaptionsOn::apply(TimelineEditState& state) const {
  if (on || state.snapshot.captions) captions(state).on = on;
}

void SetCaptionStyle::apply(TimelineEditState& state) const {
  if (state.snapshot.captions) captions(state).style = style;
}

void SetTranscript::apply(TimelineEditState& state) const {
  captions(state).setTranscript(transcript);
}

void ReplaceCaptionWords::apply(TimelineEditState& state) const {
  auto& existing = state.snapshot.captions;
  if (!existing) return;
  if (auto corrected = existing->replacing(transcript, first, last, text)) existing = std::move(corrected);
}

}  // namespace quillant::TimelineEvents
