#include "Editor/Captions/CaptionSubRip.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "Editor/Captions/CaptionCue.h"

namespace quillant::CaptionSubRip {

std::string make(std::span<const CaptionBlock> blocks) {
  std::string file;
  int number = 0;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const auto cue = CaptionCue::of(blocks, i);
    if (!cue) continue;
    file += fmt::format("{}{}\n{} --> {}\n", number == 0 ? "" : "\n", number + 1,
                        CaptionCue::timestamp(cue->start, ','), CaptionCue::timestamp(cue->end, ','));
    ++number;
    for (const auto& line : blocks[i].lines) {
      for (auto index = line.first; index <= line.last; ++index) {
        if (index > line.first) file += ' ';
        // An empty line would end the cue.
        std::ranges::replace_copy_if(
            blocks[i].words[index].text, std::back_inserter(file),
            [](char byte) { return byte == '\r' || byte == '\n'; }, ' ');
      }
      file += '\n';
    }
  }
  return file;
}

}  // namespace quillant::CaptionSubRip
