#include "Editor/Composition/PreparedAnnotations.h"

#include <algorithm>

namespace quillant {

namespace {

constexpr double shortestPlay = 0.05;  ///< Seconds.
constexpr double fade = 0.08;          ///< Of a play, at either end.

}  // namespace

PreparedAnnotations::PreparedAnnotations(const TimelineEditSnapshot& edits,
                                         const TimelineExportEditPlan& plan)
    : regions_(edits.annotationRegions) {
  for (std::size_t region = 0; region < regions_.size(); ++region)
    for (const auto& span : plan.outputSpans(regions_[region].span, std::nullopt))
      plays_.push_back({region, {span.start, std::max(span.end, span.start + shortestPlay)}});
}

double PreparedAnnotations::Play::opacity(double outputTime) const {
  const double progress = (outputTime - output.start) / (output.end - output.start);
  return std::clamp(std::min(progress, 1 - progress) / fade, 0.0, 1.0);
}

}  // namespace quillant
