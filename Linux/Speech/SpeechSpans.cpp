#include "Linux/Speech/SpeechSpans.h"

#include <algorithm>
#include <cstddef>

namespace quillant::SpeechSpans {

namespace {

// In levels, a hundredth of a second each.
constexpr std::size_t shortestPause = 40;
constexpr std::size_t margin = 25;
constexpr std::size_t shortestSpeech = 8;
constexpr std::size_t longestSpan = 3000;

/// What is louder is no silence: three times the noise, but never so much that quiet speech is lost.
float threshold(std::span<const float> levels) {
  std::vector<float> sorted(levels.begin(), levels.end());
  const auto at = [&](double share) {
    const auto place =
        sorted.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(sorted.size() - 1));
    std::ranges::nth_element(sorted, place);
    return *place;
  };
  const float noise = at(0.2);
  const float loud = at(0.99);
  return std::clamp(noise * 3, 0.0015F, std::max(0.0015F, loud * 0.08F));
}

struct Run {
  std::size_t first = 0;
  std::size_t end = 0;
};

void appendDivided(std::vector<Run>& runs, Run run, std::span<const float> levels) {
  while (run.end - run.first > longestSpan) {
    const auto from = levels.begin() + static_cast<std::ptrdiff_t>(run.first + longestSpan / 2);
    const auto quietest =
        std::min_element(from, levels.begin() + static_cast<std::ptrdiff_t>(run.first + longestSpan));
    const auto cut = static_cast<std::size_t>(quietest - levels.begin());
    runs.push_back({run.first, cut});
    run.first = cut;
  }
  runs.push_back(run);
}

}  // namespace

std::vector<SpeechSpan> find(std::span<const float> levels) {
  if (levels.empty()) return {};
  const float silence = threshold(levels);
  std::vector<Run> loud;
  for (std::size_t i = 0; i < levels.size(); ++i) {
    if (levels[i] <= silence) continue;
    if (loud.empty() || i - loud.back().end >= shortestPause) loud.push_back({i, i});
    loud.back().end = i + 1;
  }
  std::vector<Run> runs;
  for (const auto& run : loud) {
    if (run.end - run.first < shortestSpeech) continue;
    // Half of a pause at most belongs to the speech on either side.
    const auto before = runs.empty() ? 0 : runs.back().end;
    const auto first = std::max(before, run.first > margin ? run.first - margin : 0);
    appendDivided(runs, {first, std::min(run.end + margin, levels.size())}, levels);
  }
  std::vector<SpeechSpan> spans;
  for (const auto& run : runs)
    spans.push_back(
        {static_cast<double>(run.first) * levelInterval, static_cast<double>(run.end) * levelInterval});
  return spans;
}

}  // namespace quillant::SpeechSpans
