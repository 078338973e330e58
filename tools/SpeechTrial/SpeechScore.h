#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "Editor/Timeline/TimelineCaptions.h"

namespace quillant {

/// How far what was heard is from what was said.
struct SpeechScore {
  std::size_t words = 0;              ///< That were said.
  std::vector<std::string> mistakes;  ///< Words that were left out ("-a"), added ("+a") or mistaken ("a>b").
  double largestDeviation = 0;        ///< Seconds between the starts of a word that was heard right.
  std::string mostDeviating;          ///< That word.

  double errorRate() const { return static_cast<double>(mistakes.size()) / static_cast<double>(words); }

  /// By the fewest mistakes that explain it. Capital letters and punctuation count for nothing.
  static SpeechScore of(std::span<const TimelineCaptionWord> said,
                        std::span<const TimelineCaptionWord> heard);
};

}  // namespace quillant
