#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "Core/Geometry.h"
#include "Core/Signal.h"
#include "quillant/Models/SelectionHandle.h"

namespace quillant {

/// The rectangle that is being selected on one display. Points from the display's top left, y downwards; it
/// never leaves the display. Belongs to the main thread.
class AreaSelectionModel {
 public:
  /// Smaller ones are no selection: points, each way.
  static constexpr double minSize = 16;

  AreaSelectionModel(std::uint32_t displayID, Size viewSize, std::function<void()> onSelectionBegan = {})
      : displayID_(displayID), viewSize_(viewSize), onSelectionBegan_(std::move(onSelectionBegan)) {}

  std::uint32_t displayID() const { return displayID_; }
  Size viewSize() const { return viewSize_; }
  const std::optional<Rect>& rect() const { return rect_; }
  bool isCommitted() const { return isCommitted_; }
  /// Whether a rectangle is being drawn: it may still be smaller than a selection.
  bool isDrawing() const { return isDrawing_; }
  Signal<> changed;

  // Drags. Each is told all the way from where it began, at every move, and then ended.
  void updateDraw(Point from, Point to);
  void endDraw();
  void move(Point translation);
  void resize(Point translation, SelectionHandle handle);
  void endDrag();

  void nudge(double dx, double dy);
  void clear();
  /// From now on it stays as it is; false if there is nothing selected.
  bool commit();

 private:
  bool isOpen() const { return rect_ && !isCommitted_; }
  void set(std::optional<Rect> rect);
  Rect clipped(const Rect& rect) const;
  Rect shifted(const Rect& rect, Point by) const;

  const std::uint32_t displayID_;
  const Size viewSize_;
  const std::function<void()> onSelectionBegan_;
  std::optional<Rect> rect_;
  bool isCommitted_ = false;
  bool isDrawing_ = false;
  std::optional<Rect> moveAnchor_;    ///< The rectangle as it was when it was gripped.
  std::optional<Rect> resizeAnchor_;  ///< The same.
};

}  // namespace quillant
