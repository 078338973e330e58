#pragma once

#include <algorithm>
#include <cstddef>
#include <list>
#include <utility>

namespace quillant {

/// The entries that were asked for last, so many of them at most. One thread at a time.
template <class Entry>
class RecentlyUsed {
 public:
  explicit RecentlyUsed(std::size_t capacity) : capacity_(capacity) {}

  /// Null if none is the wanted one. Valid up to the next `add`.
  template <class Predicate>
  const Entry* find(Predicate&& isWanted) {
    const auto found = std::ranges::find_if(entries_, isWanted);
    if (found == entries_.end()) return nullptr;
    entries_.splice(entries_.begin(), entries_, found);
    return &entries_.front();
  }
  const Entry& add(Entry entry) {
    entries_.push_front(std::move(entry));
    if (entries_.size() > capacity_) entries_.pop_back();
    return entries_.front();
  }

 private:
  std::size_t capacity_;
  std::list<Entry> entries_;  ///< The one asked for last comes first.
};

}  // namespace quillant
