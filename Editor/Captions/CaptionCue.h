#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Editor/Composition/CaptionBlock.h"

namespace quillant {

/// When a subtitle file shows a block: whole milliseconds of output, as they are written. Cues never overlap.
struct CaptionCue {
  std::int64_t start = 0;
  std::int64_t end = 0;

  /// The cue of one of `blocks`, which are sorted by start; none where the next block leaves it no time.
  static std::optional<CaptionCue> of(std::span<const CaptionBlock> blocks, std::size_t index);
  /// Rounded; what is before 0 counts as 0.
  static std::int64_t milliseconds(double seconds);
  /// As hours, minutes and seconds, with `point` before the milliseconds.
  static std::string timestamp(std::int64_t milliseconds, char point);
};

}  // namespace quillant
