#include "quillant/Models/AreaSelectionModel.h"

#include <algorithm>
#include <cmath>

namespace quillant {

void AreaSelectionModel::updateDraw(Point from, Point to) {
  if (isCommitted_) return;
  if (!isDrawing_) {
    isDrawing_ = true;
    if (onSelectionBegan_) onSelectionBegan_();
  }
  set(clipped(
      {std::min(from.x, to.x), std::min(from.y, to.y), std::abs(to.x - from.x), std::abs(to.y - from.y)}));
}

void AreaSelectionModel::endDraw() {
  if (!isDrawing_) return;
  isDrawing_ = false;
  const bool isLargeEnough = rect_ && rect_->width >= minSize && rect_->height >= minSize;
  set(isLargeEnough ? rect_ : std::nullopt);
}

void AreaSelectionModel::move(Point translation) {
  if (!isOpen()) return;
  if (!moveAnchor_) moveAnchor_ = rect_;
  set(shifted(*moveAnchor_, translation));
}

void AreaSelectionModel::resize(Point translation, SelectionHandle handle) {
  if (!isOpen()) return;
  if (!resizeAnchor_) resizeAnchor_ = rect_;
  set(clipped(handle.resized(*resizeAnchor_, translation, minSize)));
}

void AreaSelectionModel::endDrag() {
  moveAnchor_.reset();
  resizeAnchor_.reset();
}

void AreaSelectionModel::nudge(double dx, double dy) {
  if (isOpen()) set(shifted(*rect_, {dx, dy}));
}

void AreaSelectionModel::clear() {
  if (isCommitted_) return;
  isDrawing_ = false;
  endDrag();
  set(std::nullopt);
}

bool AreaSelectionModel::commit() {
  if (!isOpen() || isDrawing_) return false;
  isCommitted_ = true;
  changed.emit();
  return true;
}

void AreaSelectionModel::set(std::optional<Rect> rect) {
  rect_ = rect;
  changed.emit();
}

Rect AreaSelectionModel::clipped(const Rect& rect) const {
  const double left = std::clamp(rect.x, 0.0, viewSize_.width);
  const double top = std::clamp(rect.y, 0.0, viewSize_.height);
  return {left, top, std::clamp(rect.maxX(), 0.0, viewSize_.width) - left,
          std::clamp(rect.maxY(), 0.0, viewSize_.height) - top};
}

Rect AreaSelectionModel::shifted(const Rect& rect, Point by) const {
  return {std::clamp(rect.x + by.x, 0.0, viewSize_.width - rect.width),
          std::clamp(rect.y + by.y, 0.0, viewSize_.height - rect.height), rect.width, rect.height};
}

}  // namespace quillant
