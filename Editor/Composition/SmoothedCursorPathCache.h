#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "Editor/Composition/SmoothedCursorPath.h"

namespace quillant {

/// The smoothed paths of one track, each built once however many frames ask for it. Any thread: who asks for
/// a path that is being built waits for it.
class SmoothedCursorPathCache {
 public:
  /// Null where `build` gave none; that is remembered too.
  std::shared_ptr<const SmoothedCursorPath> path(
      double smoothing, const std::function<std::optional<SmoothedCursorPath>()>& build);

 private:
  struct Entry {
    double smoothing;
    std::shared_ptr<const SmoothedCursorPath> path;
  };
  /// A slider that is dragged asks for a hundred smoothings, and an hour's path is 14 MB.
  static constexpr std::size_t capacity = 4;

  std::mutex lock_;
  std::vector<Entry> paths_;  ///< The one asked for last comes first.
};

}  // namespace quillant
