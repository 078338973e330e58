#pragma once

#include <cstddef>
#include <vector>

#include "Core/CopyOnWrite.h"
#include "Editor/Composition/TimelineExportEditPlan.h"
#include "Editor/Timeline/TimelineAnnotationRegion.h"
#include "Editor/Timeline/TimelineEditSnapshot.h"

namespace quillant {

/// The annotations of an edit on its output's clock. Immutable; any thread.
class PreparedAnnotations {
 public:
  PreparedAnnotations(const TimelineEditSnapshot& edits, const TimelineExportEditPlan& plan);

  /// One play of an annotation. It fades in and out within its span.
  struct Play {
    std::size_t region;   ///< Into `regions`.
    TimelineSpan output;  ///< Output seconds.

    /// 0 where it does not show.
    double opacity(double outputTime) const;
  };
  /// By region, which is the order in which they lie over one another. An edit has few.
  const std::vector<Play>& plays() const { return plays_; }
  const CopyOnWriteVector<TimelineAnnotationRegion>& regions() const { return regions_; }

 private:
  CopyOnWriteVector<TimelineAnnotationRegion> regions_;
  std::vector<Play> plays_;
};

}  // namespace quillant
