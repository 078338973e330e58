#pragma once

#include <array>

#include "Core/Geometry.h"

namespace quillant {

/// One of the eight places by which a rectangle is resized; y counts downwards. -1 is the left or the upper
/// edge, 1 the right or the lower one, 0 neither.
struct SelectionHandle {
  int horizontal = 0;
  int vertical = 0;

  /// Where it is on `rect`.
  Point position(const Rect& rect) const;
  /// `rect` with this handle moved by `translation`. The opposite edge stays; neither side becomes less than
  /// `minSize`.
  Rect resized(const Rect& rect, Point translation, double minSize) const;

  friend bool operator==(const SelectionHandle&, const SelectionHandle&) = default;
};

/// Clockwise from the upper left.
inline constexpr std::array<SelectionHandle, 8> selectionHandles{
    SelectionHandle{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}};

}  // namespace quillant
