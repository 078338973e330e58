#pragma once

#include <optional>
#include <variant>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineRegionKind.h"
#include "Editor/Timeline/TimelineSelectedItem.h"

namespace quillant {

struct TimelineEditState;

/// The events that select, and those that act on whatever is selected.
namespace TimelineEvents {

/// A region, or with either argument missing nothing.
struct Select {
  std::optional<TimelineRegionKind> kind;
  std::optional<UUID> id;

  void apply(TimelineEditState& state) const;
};

struct SelectClip {
  UUID id;

  void apply(TimelineEditState& state) const;
};

struct SelectAudioClip {
  UUID id;

  void apply(TimelineEditState& state) const;
};

struct SelectCameraClip {
  UUID id;

  void apply(TimelineEditState& state) const;
};

/// Adds the item to the selection, or takes it out.
struct ToggleSelected {
  TimelineSelectedItem item;

  void apply(TimelineEditState& state) const;
};

struct ClearSelection {
  void apply(TimelineEditState& state) const;
};

/// Splits all that is selected under the playhead. The second halves are selected then, so that what comes
/// next (to delete, to speed up, to split again) concerns what plays from here on.
struct SplitSelected {
  double outputTime = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// Clips stay when there is no duration.
struct DeleteSelection {
  std::optional<double> duration;

  void apply(TimelineEditState& state) const;
};

using SelectionEvents = std::variant<Select, SelectClip, SelectAudioClip, SelectCameraClip, ToggleSelected,
                                     ClearSelection, SplitSelected, DeleteSelection>;

}  // namespace TimelineEvents
}  // namespace quillant
