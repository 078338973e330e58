#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Core/UUID.h"
#include "Editor/Timeline/TimelineEditEffect.h"
#include "Editor/Timeline/TimelineRegionKind.h"
#include "Editor/Timeline/TimelineSpan.h"
#include "Editor/Timeline/TimelineZoomRegion.h"

namespace quillant {

struct TimelineEditState;

/// The events of regions: zooms and annotations. Spans are seconds of the region's source, `duration` is that
/// source's. An id that no region has changes nothing.
///
/// Generation owns the automatic zooms of the recording and replaces them; those of an added video came with
/// it and stay. An automatic zoom becomes the user's own by `UpdateZoomFocus` alone: choosing what to look at
/// is what generation must not undo.
namespace TimelineEvents {

/// A new region at the playhead. Only zooms are added: cuts are made of clips, annotations are not offered.
struct Add {
  TimelineRegionKind kind = TimelineRegionKind::zoom;
  double currentTime = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// Adds a zoom as it is, where no other zoom of its source is.
struct AddZoomRegion {
  TimelineZoomRegion region;

  void apply(TimelineEditState& state) const;
};

/// Asks for zooms, which come back as `ReplaceAutoZooms`.
struct RegenerateAutoZoomsRequested {
  std::optional<std::filesystem::path> videoURL;
  double duration = 0;
  TimelineZoomAnimationPreset preset = TimelineZoomAnimationPreset::balanced;

  TimelineEditEffects apply(TimelineEditState& state) const;
};

struct ReplaceAutoZooms {
  std::vector<TimelineZoomRegion> zooms;

  void apply(TimelineEditState& state) const;
};

/// Hides the automatic zooms, or shows them again.
struct SetAutoZoomsOff {
  bool off = false;

  void apply(TimelineEditState& state) const;
};

/// A region may be dragged over another.
struct UpdateSpan {
  TimelineRegionKind kind = TimelineRegionKind::zoom;
  UUID id;
  TimelineSpan span;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// Types a zoom's span; it is longer at the least than a dragged one.
struct UpdateZoomSpan {
  UUID id;
  double start = 0;
  double end = 0;
  double duration = 0;

  void apply(TimelineEditState& state) const;
};

/// To the next step of depth, and from the deepest to none.
struct DeepenZoom {
  UUID id;

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomDepth {
  UUID id;
  double depth = 1;  ///< 1...5

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomFocus {
  UUID id;
  std::optional<double> focusX;  ///< 0...1
  std::optional<double> focusY;  ///< 0...1

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomAnimationPreset {
  UUID id;
  TimelineZoomAnimationPreset preset = TimelineZoomAnimationPreset::balanced;

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomSoftness {
  UUID id;
  std::optional<double> softness;  ///< 0...1; none is the preset's.

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomEasing {
  UUID id;
  std::optional<TimelineZoomEasing> easing;  ///< None is the preset's.

  void apply(TimelineEditState& state) const;
};

struct UpdateZoomFollowsCursor {
  UUID id;
  std::optional<bool> followsCursor;  ///< None is the preset's.

  void apply(TimelineEditState& state) const;
};

struct UpdateAnnotationText {
  UUID id;
  std::string text;

  void apply(TimelineEditState& state) const;
};

using ZoomEvents = std::variant<Add, AddZoomRegion, RegenerateAutoZoomsRequested, ReplaceAutoZooms,
                                SetAutoZoomsOff, UpdateSpan, UpdateZoomSpan, DeepenZoom, UpdateZoomDepth,
                                UpdateZoomFocus, UpdateZoomAnimationPreset, UpdateZoomSoftness,
                                UpdateZoomEasing, UpdateZoomFollowsCursor, UpdateAnnotationText>;

}  // namespace TimelineEvents
}  // namespace quillant
