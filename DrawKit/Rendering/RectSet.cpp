#include "DrawKit/Rendering/RectSet.h"

#include <algorithm>

#include "Core/PixelRects.h"

namespace quillant::RectSet {

namespace {

constexpr std::size_t longest = 48;

/// Calls `keep` for the up to four parts of `rect` that lie outside of `hole`.
template <class Keep>
void forOutside(const PixelRect& rect, const PixelRect& hole, const Keep& keep) {
  const PixelRect inner = PixelRects::intersection(rect, hole);
  if (inner.width == 0) return keep(rect);
  const int right = rect.x + rect.width, bottom = rect.y + rect.height;
  const int innerRight = inner.x + inner.width, innerBottom = inner.y + inner.height;
  if (inner.y > rect.y) keep({rect.x, rect.y, rect.width, inner.y - rect.y});
  if (inner.x > rect.x) keep({rect.x, inner.y, inner.x - rect.x, inner.height});
  if (innerRight < right) keep({innerRight, inner.y, right - innerRight, inner.height});
  if (innerBottom < bottom) keep({rect.x, innerBottom, rect.width, bottom - innerBottom});
}

}  // namespace

void subtract(std::vector<PixelRect>& set, const PixelRect& hole) {
  if (hole.width == 0) return;
  const std::size_t count = set.size();
  for (std::size_t i = 0; i < count; ++i) {
    const PixelRect rect = set[i];
    forOutside(rect, hole, [&](const PixelRect& part) { set.push_back(part); });
  }
  set.erase(set.begin(), set.begin() + static_cast<std::ptrdiff_t>(count));
}

void add(std::vector<PixelRect>& set, const PixelRect& rect) {
  if (rect.width == 0) return;
  const std::size_t before = set.size();
  set.push_back(rect);
  for (std::size_t i = 0; i < before; ++i) {
    const PixelRect hole = set[i];
    for (std::size_t j = set.size(); j-- > before;) {
      const PixelRect part = set[j];
      set.erase(set.begin() + static_cast<std::ptrdiff_t>(j));
      forOutside(part, hole, [&](const PixelRect& outside) { set.push_back(outside); });
    }
  }
  if (set.size() <= longest) return;
  PixelRect all = set[0];
  for (const PixelRect& part : set) all = PixelRects::enclosing(all, part);
  set.assign(1, all);
}

}  // namespace quillant::RectSet
