#pragma once

#include <span>
#include <string>

#include "Editor/Composition/CaptionBlock.h"
#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant::CaptionJSON {

/// Captions with all that is known of them, for programs: for each block its times, its voice, its lines and
/// the times of its words. Times are output seconds, to the millisecond. `blocks` are of `captions`. Pure;
/// any thread.
std::string make(std::span<const CaptionBlock> blocks, const TimelineCaptions& captions);

}  // namespace quillant::CaptionJSON
