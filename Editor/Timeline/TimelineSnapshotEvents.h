#pragma once

#include <variant>

#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

struct TimelineEditState;

/// The events of an edit as a whole.
namespace TimelineEvents {

/// Opens a stored edit.
struct ApplySnapshot {
  TimelineEditSnapshot snapshot;

  void apply(TimelineEditState& state) const;
};

/// Takes back everything, captions and muted rows included.
struct Reset {
  void apply(TimelineEditState& state) const;
};

struct SetRowMuted {
  TimelineMuteRow row = TimelineMuteRow::clips;
  bool muted = false;

  void apply(TimelineEditState& state) const;
};

using SnapshotEvents = std::variant<ApplySnapshot, Reset, SetRowMuted>;

}  // namespace TimelineEvents
}  // namespace quillant
