#pragma once

#include <vector>

#include "Editor/Composition/CaptionBlock.h"
#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// The captions that are burned into a video.
struct CaptionRenderPlan {
  std::vector<CaptionBlock>
      blocks;  ///< Sorted by start; they may overlap, then the last one that still shows counts.
  TimelineCaptionStyle style = TimelineCaptionStyle::box;

  friend bool operator==(const CaptionRenderPlan&, const CaptionRenderPlan&) = default;
};

}  // namespace quillant
