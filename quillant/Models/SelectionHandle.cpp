#include "quillant/Models/SelectionHandle.h"

#include <algorithm>

namespace quillant {

namespace {

/// One of the two sides of a rectangle, along its axis.
struct Span {
  double start;
  double length;
};

Span resized(Span span, int edge, double by, double minSize) {
  if (edge == 0) return span;
  const double length = std::max(span.length + edge * by, minSize);
  return {edge < 0 ? span.start + span.length - length : span.start, length};
}

}  // namespace

Point SelectionHandle::position(const Rect& rect) const {
  return {rect.center().x + horizontal * rect.width / 2, rect.center().y + vertical * rect.height / 2};
}

Rect SelectionHandle::resized(const Rect& rect, Point translation, double minSize) const {
  const auto across = quillant::resized({rect.x, rect.width}, horizontal, translation.x, minSize);
  const auto down = quillant::resized({rect.y, rect.height}, vertical, translation.y, minSize);
  return {across.start, down.start, across.length, down.length};
}

}  // namespace quillant
