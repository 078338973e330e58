#include "Editor/Composition/ActiveSpans.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <queue>

namespace quillant {

ActiveSpans::ActiveSpans(std::span<const TimelineSpan> spans) {
  std::vector<double> times;
  for (const TimelineSpan& span : spans) times.insert(times.end(), {span.start, span.end});
  std::ranges::sort(times);
  times.erase(std::ranges::unique(times).begin(), times.end());
  std::vector<std::size_t> byStart(spans.size());
  std::iota(byStart.begin(), byStart.end(), std::size_t{0});
  std::ranges::stable_sort(byStart, std::less<>(), [&](std::size_t i) { return spans[i].start; });

  std::priority_queue<std::size_t> showing;
  auto next = byStart.begin();
  for (const double time : times) {
    for (; next != byStart.end() && spans[*next].start <= time; ++next) showing.push(*next);
    while (!showing.empty() && spans[showing.top()].end <= time) showing.pop();
    changes_.push_back({time, showing.empty() ? std::nullopt : std::optional(showing.top())});
  }
}

std::optional<std::size_t> ActiveSpans::at(double time) const {
  const auto next = std::ranges::upper_bound(changes_, time, std::less<>(), &Change::start);
  return next == changes_.begin() ? std::nullopt : std::prev(next)->active;
}

}  // namespace quillant
