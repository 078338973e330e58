#pragma once

#include <span>
#include <string>

#include "Editor/Composition/CaptionBlock.h"

namespace quillant::CaptionSubRip {

/// Captions as a SubRip file (.srt): the cues that `CaptionWebVTT::make` writes, without times of words.
/// `blocks` are sorted by start. Pure; any thread.
std::string make(std::span<const CaptionBlock> blocks);

}  // namespace quillant::CaptionSubRip
