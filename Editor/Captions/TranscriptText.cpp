#include "Editor/Captions/TranscriptText.h"

namespace quillant::TranscriptText {

std::string make(std::span<const TranscriptParagraph> paragraphs) {
  std::string text;
  for (const auto& paragraph : paragraphs) {
    std::string line;
    for (const auto& item : paragraph.items)
      if (const auto* word = std::get_if<TranscriptWordItem>(&item))
        line += (line.empty() ? "" : " ") + word->text;
    if (!line.empty()) text += line + "\n";
  }
  return text;
}

}  // namespace quillant::TranscriptText
