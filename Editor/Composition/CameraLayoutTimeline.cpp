#include "Editor/Composition/CameraLayoutTimeline.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace quillant {

namespace {

constexpr double longestTransition = 0.4;

}  // namespace

CameraLayoutTimeline::CameraLayoutTimeline(const TimelineExportEditPlan& plan) {
  for (const auto& segment : plan.segments) {
    if (!runs_.empty() && runs_.back().layout == segment.camera)
      runs_.back().end = segment.outputEnd;
    else
      runs_.push_back({segment.outputStart, segment.outputEnd, segment.camera});
  }
}

std::optional<double> CameraLayoutTimeline::cameraFullScreenAmount(double outputTime) const {
  if (runs_.empty()) return std::nullopt;
  // A time before the first run belongs to it, one past the last to the last.
  auto run = std::ranges::upper_bound(runs_, outputTime, std::less<>(), &Run::start);
  if (run != runs_.begin()) --run;
  if (run->layout == TimelineCameraLayout::hidden) return std::nullopt;
  const double steady = run->layout == TimelineCameraLayout::fullScreen ? 1 : 0;
  if (run == runs_.begin() || std::prev(run)->layout == TimelineCameraLayout::hidden) return steady;

  const double transition = std::min(run->end - run->start, longestTransition);
  if (!(transition > 0)) return steady;
  const double p = std::clamp((outputTime - run->start) / transition, 0.0, 1.0);
  const double from = 1 - steady;
  return from + (steady - from) * p * p * (3 - 2 * p);
}

}  // namespace quillant
