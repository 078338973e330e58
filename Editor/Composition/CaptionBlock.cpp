#include "Editor/Composition/CaptionBlock.h"

namespace quillant {

std::string CaptionBlock::text() const {
  std::string text;
  for (const auto& word : words) text.append(&word == &words.front() ? "" : " ").append(word.text);
  return text;
}

}  // namespace quillant
