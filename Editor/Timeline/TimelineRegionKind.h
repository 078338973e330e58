#pragma once

#include "Core/RawTexts.h"

namespace quillant {

/// The kinds of region that a user selects on the timeline.
enum class TimelineRegionKind { zoom, trim, annotation };

template <>
inline constexpr auto rawTexts<TimelineRegionKind> =
    std::to_array<RawText<TimelineRegionKind>>({{TimelineRegionKind::zoom, "zoom"},
                                                {TimelineRegionKind::trim, "trim"},
                                                {TimelineRegionKind::annotation, "annotation"}});

}  // namespace quillant
