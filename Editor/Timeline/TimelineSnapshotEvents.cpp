#include "Editor/Timeline/TimelineSnapshotEvents.h"

#include "Editor/Timeline/TimelineEditState.h"

namespace quillant::TimelineEvents {

void ApplySnapshot::apply(TimelineEditState& state) const {
  state = {.snapshot = snapshot};
}

void Reset::apply(TimelineEditState& state) const {
  state = {.statusMessage = "Timeline edits reset."};
}

void SetRowMuted::apply(TimelineEditState& state) const {
  state.snapshot.setMuted(row, muted);
}

}  // namespace quillant::TimelineEvents
