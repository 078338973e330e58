#include "Editor/Composition/PreparedCaptions.h"

#include <algorithm>
#include <functional>
#include <iterator>

#include "Editor/Timeline/TimelineTolerances.h"

namespace quillant {

namespace {

std::vector<TimelineSpan> spans(const CaptionRenderPlan& plan) {
  std::vector<TimelineSpan> result;
  for (const CaptionBlock& block : plan.blocks) result.push_back({block.start, block.end});
  return result;
}

}  // namespace

PreparedCaptions::PreparedCaptions(CaptionRenderPlan plan) : plan_(std::move(plan)), spans_(spans(plan_)) {
  for (const CaptionBlock& block : plan_.blocks) {
    std::string& key = keys_.emplace_back(rawText(plan_.style));
    // Where its lines break counts too.
    for (const CaptionIndexRange& line : block.lines) {
      key += '\n';
      for (std::size_t word = line.first; word <= line.last; ++word)
        key.append(" ").append(block.words[word].text);
    }
  }
}

std::optional<PreparedCaptions::Shown> PreparedCaptions::at(double outputTime) const {
  // A frame at the start of a word shows it, whatever the rounding of decimal times made of either.
  const double time = outputTime + placingTolerance;
  const auto block = spans_.at(time);
  if (!block) return std::nullopt;
  const auto& words = plan_.blocks[*block].words;
  const auto next = std::ranges::upper_bound(words, time, std::less<>(), &CaptionWordPlacement::start);
  if (next == words.begin()) return Shown{*block, std::nullopt};
  return Shown{*block, static_cast<std::size_t>(next - words.begin()) - 1};
}

}  // namespace quillant
