#pragma once

#include "Core/PixelBuffer.h"
#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// A caption of each script in that style, as in frames of that height, one below the other. The middle word
/// of each is being spoken.
PixelBufferRef captionSheet(TimelineCaptionStyle style, double frameHeight);

}  // namespace quillant
