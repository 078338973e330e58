#include "Editor/Captions/CaptionCue.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace quillant {

std::int64_t CaptionCue::milliseconds(double seconds) {
  return seconds > 0 ? std::llround(seconds * 1000) : 0;
}

std::optional<CaptionCue> CaptionCue::of(std::span<const CaptionBlock> blocks, std::size_t index) {
  double end = blocks[index].end;
  if (index + 1 < blocks.size()) end = std::min(end, blocks[index + 1].start);
  const CaptionCue cue{milliseconds(blocks[index].start), milliseconds(end)};
  if (!(cue.start < cue.end)) return std::nullopt;
  return cue;
}

std::string CaptionCue::timestamp(std::int64_t milliseconds, char point) {
  return fmt::format("{:02}:{:02}:{:02}{}{:03}", milliseconds / 3'600'000, milliseconds / 60'000 % 60,
                     milliseconds / 1000 % 60, point, milliseconds % 1000);
}

}  // namespace quillant
