#include "Editor/Captions/CaptionWebVTT.h"

#include <fmt/format.h>

#include "Core/RawTexts.h"
#include "Core/Text.h"
#include "Editor/Captions/CaptionCue.h"

namespace quillant::CaptionWebVTT {

namespace {

std::string timestamp(std::int64_t milliseconds) {
  return CaptionCue::timestamp(milliseconds, '.');
}

/// A word cannot open a tag, an entity or a new line of the file.
std::string escaped(std::string_view word) {
  std::string text;
  for (const char byte : word) {
    switch (byte) {
      case '&':
        text += "&amp;";
        break;
      case '<':
        text += "&lt;";
        break;
      case '>':
        text += "&gt;";
        break;
      case '\r':
      case '\n':
        text += ' ';
        break;
      default:
        text += byte;
    }
  }
  return text;
}

}  // namespace

std::string timestamp(double seconds) {
  return timestamp(CaptionCue::milliseconds(seconds));
}

std::string make(std::span<const CaptionBlock> blocks, TimelineCaptionStyle style) {
  auto file = fmt::format("WEBVTT\n\nNOTE quillant-style {}\n", rawText(style));
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    const auto cue = CaptionCue::of(blocks, i);
    if (!cue) continue;
    file += fmt::format("\n{}\n{} --> {}\n", i + 1, timestamp(cue->start), timestamp(cue->end));
    for (const auto& line : blocks[i].lines) {
      for (auto index = line.first; index <= line.last; ++index) {
        const auto& word = blocks[i].words[index];
        const auto start = CaptionCue::milliseconds(word.start);
        if (index > line.first) file += ' ';
        if (index > 0 && cue->start < start && start < cue->end)
          file += fmt::format("<{}>", timestamp(start));
        file += escaped(word.text);
      }
      file += '\n';
    }
  }
  return file;
}

}  // namespace quillant::CaptionWebVTT
