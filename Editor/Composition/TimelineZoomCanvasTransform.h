#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "Editor/Composition/ActiveSpans.h"
#include "Editor/Composition/CursorTelemetryTrack.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Composition/TimelineZoomEffect.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// The zooms of an edit, laid out on its output once so that a frame costs a look-up. An answer depends on
/// nothing but the edit, the plan, the time and the track: scrubbing and export agree exactly. Immutable; any
/// thread.
class TimelineZoomCanvasTransform {
 public:
  /// `plan` is the edit's, or its pieces of the main recording: it is cut at both ends of every zoom that
  /// takes effect. Those of added files do not.
  TimelineZoomCanvasTransform(const TimelineEditSnapshot& edits, TimelineExportEditPlan plan);

  /// None where nothing is zoomed. Of zooms that overlap the later one counts; two that meet hand over
  /// without passing through scale 1.
  std::optional<TimelineZoomEffect> activeEffect(double outputTime,
                                                 const CursorTelemetryTrack* cursorTrack) const;

 private:
  /// A stretch of output in which a zoom shows: a zoom across a cut has several.
  struct Piece {
    std::size_t zoom;
    TimelineSpan span;
    std::optional<std::size_t> predecessor;  ///< The zoom that ends where this piece starts.
    bool hasSuccessor = false;               ///< Another zoom starts where this piece ends.
  };

  void layOutPieces();
  void findNeighbours();

  TimelineExportEditPlan plan_;
  std::vector<TimelineZoomRegion> zooms_;  ///< By start.
  std::vector<Piece> pieces_;              ///< By zoom: of two that overlap, the later counts.
  ActiveSpans active_{{}};                 ///< Of `pieces_`.
};

}  // namespace quillant
