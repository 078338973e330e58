#pragma once

#include <optional>
#include <vector>

#include "Editor/Composition/TimelineExportEditPlan.h"

namespace quillant {

/// How the camera moves between its bubble and the whole picture, laid out on the output once so that a frame
/// costs a search by halves. Immutable; any thread.
class CameraLayoutTimeline {
 public:
  explicit CameraLayoutTimeline(const TimelineExportEditPlan& plan);

  /// How far the camera has grown from its bubble (0) to the whole picture (1) at an output time; none while
  /// it is hidden, and in an empty plan. It moves after a seam; the video's start and the return from hidden
  /// do not move.
  std::optional<double> cameraFullScreenAmount(double outputTime) const;

 private:
  /// Neighbouring segments with one layout.
  struct Run {
    double start;
    double end;
    TimelineCameraLayout layout;
  };
  std::vector<Run> runs_;  ///< In output order, each of another layout than the one before.
};

}  // namespace quillant
