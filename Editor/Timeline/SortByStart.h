#pragma once

#include <algorithm>
#include <functional>
#include <vector>

namespace quillant {

/// Sorts by a time, what is equal staying in its order. Rows are nearly always in order already, and then
/// this only looks.
template <class Item, class Start>
void sortByStart(std::vector<Item>& items, Start start) {
  if (!std::ranges::is_sorted(items, std::less<>(), start))
    std::ranges::stable_sort(items, std::less<>(), start);
}

}  // namespace quillant
