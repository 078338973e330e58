#include "tools/SpeechTrial/SpeechScore.h"

#include <algorithm>
#include <cmath>

#include "Core/Text.h"

namespace quillant {

namespace {

std::vector<std::string> bare(std::span<const TimelineCaptionWord> words) {
  std::vector<std::string> result;
  for (const auto& word : words) {
    auto& text = result.emplace_back();
    const auto lower = Text::lowercased(word.text);
    for (const auto character : Text::characters(lower))
      if (Text::isLetterOrNumber(character)) text += character;
  }
  return result;
}

}  // namespace

SpeechScore SpeechScore::of(std::span<const TimelineCaptionWord> said,
                            std::span<const TimelineCaptionWord> heard) {
  const auto wanted = bare(said), found = bare(heard);
  // fewest[i][j]: mistakes between the first i words said and the first j heard.
  std::vector<std::vector<std::size_t>> fewest(wanted.size() + 1, std::vector<std::size_t>(found.size() + 1));
  const auto substituting = [&](std::size_t i, std::size_t j) {
    return fewest[i - 1][j - 1] + (wanted[i - 1] == found[j - 1] ? 0 : 1);
  };
  for (std::size_t i = 0; i <= wanted.size(); ++i)
    for (std::size_t j = 0; j <= found.size(); ++j)
      fewest[i][j] = i == 0   ? j
                     : j == 0 ? i
                              : std::min({fewest[i - 1][j] + 1, fewest[i][j - 1] + 1, substituting(i, j)});

  SpeechScore score{.words = wanted.size()};
  for (std::size_t i = wanted.size(), j = found.size(); i > 0 || j > 0;) {
    if (i > 0 && j > 0 && fewest[i][j] == substituting(i, j)) {
      --i, --j;
      if (wanted[i] != found[j]) {
        score.mistakes.push_back(wanted[i] + ">" + found[j]);
        continue;
      }
      const double deviation = std::abs(said[i].start - heard[j].start);
      if (deviation > score.largestDeviation)
        score.largestDeviation = deviation, score.mostDeviating = wanted[i];
    } else if (i > 0 && fewest[i][j] == fewest[i - 1][j] + 1) {
      score.mistakes.push_back("-" + wanted[--i]);
    } else {
      score.mistakes.push_back("+" + found[--j]);
    }
  }
  std::ranges::reverse(score.mistakes);
  return score;
}

}  // namespace quillant
