#include "Core/PixelRects.h"

#include <algorithm>

namespace quillant::PixelRects {

namespace {

/// Asking for one more rectangle costs the server and us about what fetching this many pixels does.
constexpr std::int64_t pixelsWorthARequest = 4096;
/// Joining looks at every pair, so a longer list is first joined in the order it came (top to bottom).
constexpr std::size_t mostRects = 32;
/// From this part of the whole on, one request for all of it is cheaper.
constexpr double wholeFrom = 0.6;

bool worthJoining(const PixelRect& left, const PixelRect& right) {
  return area(enclosing(left, right)) <= area(left) + area(right) + pixelsWorthARequest;
}

void shorten(std::vector<PixelRect>& rects) {
  const std::size_t run = (rects.size() + mostRects - 1) / mostRects;
  std::vector<PixelRect> shorter;
  for (std::size_t i = 0; i < rects.size(); ++i) {
    if (i % run == 0)
      shorter.push_back(rects[i]);
    else
      shorter.back() = enclosing(shorter.back(), rects[i]);
  }
  rects = std::move(shorter);
}

void joinNeighbours(std::vector<PixelRect>& rects) {
  for (bool joined = true; joined;) {
    joined = false;
    for (std::size_t i = 0; i < rects.size(); ++i) {
      for (std::size_t j = rects.size() - 1; j > i; --j) {
        if (!worthJoining(rects[i], rects[j])) continue;
        rects[i] = enclosing(rects[i], rects[j]);
        rects.erase(rects.begin() + static_cast<std::ptrdiff_t>(j));
        joined = true;
      }
    }
  }
}

PixelRect onEvenPixels(const PixelRect& rect, const PixelRect& bounds) {
  const int left = rect.x & ~1;
  const int top = rect.y & ~1;
  const int right = (rect.x + rect.width + 1) & ~1;
  const int bottom = (rect.y + rect.height + 1) & ~1;
  return intersection({left, top, right - left, bottom - top}, bounds);
}

}  // namespace

std::int64_t area(const PixelRect& rect) {
  return std::int64_t{rect.width} * rect.height;
}

PixelRect intersection(const PixelRect& left, const PixelRect& right) {
  const int x = std::max(left.x, right.x);
  const int y = std::max(left.y, right.y);
  const int width = std::min(left.x + left.width, right.x + right.width) - x;
  const int height = std::min(left.y + left.height, right.y + right.height) - y;
  if (width <= 0 || height <= 0) return {};
  return {x, y, width, height};
}

PixelRect enclosing(const PixelRect& left, const PixelRect& right) {
  const int x = std::min(left.x, right.x);
  const int y = std::min(left.y, right.y);
  return {x, y, std::max(left.x + left.width, right.x + right.width) - x,
          std::max(left.y + left.height, right.y + right.height) - y};
}

bool contains(const PixelRect& outer, const PixelRect& inner) {
  return intersection(outer, inner) == inner;
}

PixelRect moved(const PixelRect& rect, int dx, int dy) {
  return {rect.x + dx, rect.y + dy, rect.width, rect.height};
}

std::vector<PixelRect> coalesced(std::vector<PixelRect> rects, const PixelRect& bounds) {
  for (auto& rect : rects) rect = intersection(rect, bounds);
  std::erase_if(rects, [](const PixelRect& rect) { return area(rect) == 0; });
  if (rects.size() > mostRects) shorten(rects);
  joinNeighbours(rects);
  std::int64_t covered = 0;
  for (auto& rect : rects) covered += area(rect = onEvenPixels(rect, bounds));
  if (static_cast<double>(covered) >= wholeFrom * static_cast<double>(area(bounds)) && covered > 0)
    return {bounds};
  return rects;
}

}  // namespace quillant::PixelRects
