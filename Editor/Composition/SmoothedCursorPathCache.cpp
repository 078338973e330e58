#include "Editor/Composition/SmoothedCursorPathCache.h"

#include <algorithm>

namespace quillant {

std::shared_ptr<const SmoothedCursorPath> SmoothedCursorPathCache::path(
    double smoothing, const std::function<std::optional<SmoothedCursorPath>()>& build) {
  const std::lock_guard guard(lock_);
  auto found = std::ranges::find(paths_, smoothing, &Entry::smoothing);
  if (found == paths_.end()) {
    auto built = build();
    if (paths_.size() == capacity) paths_.pop_back();
    paths_.push_back(
        {smoothing, built ? std::make_shared<const SmoothedCursorPath>(std::move(*built)) : nullptr});
    found = std::prev(paths_.end());
  }
  std::rotate(paths_.begin(), found, std::next(found));
  return paths_.front().path;
}

}  // namespace quillant
