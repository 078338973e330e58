#pragma once

#include <span>
#include <string>

#include "Editor/Composition/CaptionBlock.h"
#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// Captions as a WebVTT file, each word with the time at which it is spoken. Pure; any thread.
namespace CaptionWebVTT {

/// A cue for each block, cut off where the next one starts. The style stands in a note, for players that draw
/// it. `blocks` are sorted by start.
std::string make(std::span<const CaptionBlock> blocks, TimelineCaptionStyle style);

/// As hours, minutes, seconds and milliseconds. Times before 0 count as 0.
std::string timestamp(double seconds);

}  // namespace CaptionWebVTT
}  // namespace quillant
