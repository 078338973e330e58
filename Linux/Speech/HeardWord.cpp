#include "Linux/Speech/HeardWord.h"

#include <algorithm>
#include <string>

#include "Core/Text.h"

namespace quillant::HeardWord {

std::optional<TimelineCaptionWord> of(std::string_view text, double start, double end) {
  const auto whole = Text::withoutBrokenBytes(text);
  const auto word = Text::trimmed(whole);
  if (word.empty() || word.starts_with('<') || word.starts_with('[') || word.starts_with("++"))
    return std::nullopt;
  return TimelineCaptionWord{start, std::max(start, end), std::string(word)};
}

}  // namespace quillant::HeardWord
