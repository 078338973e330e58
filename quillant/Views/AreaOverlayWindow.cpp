#include "quillant/Views/AreaOverlayWindow.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quillant {

namespace {

constexpr double handleRadius = 5;
constexpr double gripRadius = 10;  // how near to a handle counts as on it
constexpr double labelDistance = 22;
const QColor shade(0, 0, 0, 120);

QRectF rectangle(const Rect& rect) {
  return {rect.x, rect.y, rect.width, rect.height};
}

Point point(const QPointF& place) {
  return {place.x(), place.y()};
}

Qt::CursorShape cursorOf(SelectionHandle handle) {
  if (handle.horizontal == 0) return Qt::SizeVerCursor;
  if (handle.vertical == 0) return Qt::SizeHorCursor;
  return handle.horizontal == handle.vertical ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor;
}

std::optional<AreaSelectionOverlayController::Key> keyOf(int key) {
  using Key = AreaSelectionOverlayController::Key;
  switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return Key::commit;
    case Qt::Key_Escape:
      return Key::cancel;
    case Qt::Key_Left:
      return Key::left;
    case Qt::Key_Right:
      return Key::right;
    case Qt::Key_Up:
      return Key::up;
    case Qt::Key_Down:
      return Key::down;
    default:
      return std::nullopt;
  }
}

}  // namespace

AreaOverlayWindow::AreaOverlayWindow(AreaSelectionOverlayController& controller, AreaSelectionModel& model,
                                     QPixmap picture)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool),
      controller_(controller),
      model_(model),
      picture_(std::move(picture)),
      connection_(model.changed.connect([this] { update(); })) {
  setMouseTracking(true);
  setCursor(Qt::CrossCursor);
  setWindowTitle(QCoreApplication::translate("AreaOverlayWindow", "Select the area to record"));
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void AreaOverlayWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.drawPixmap(rect(), picture_);
  QPainterPath outside;
  outside.addRect(QRectF(rect()));
  if (!model_.rect()) {
    painter.fillPath(outside, shade);
    return;
  }
  const auto selected = rectangle(*model_.rect());
  outside.addRect(selected);  // even and odd: the selection stays clear
  painter.fillPath(outside, shade);
  painter.setRenderHint(QPainter::Antialiasing);
  drawSelection(painter, selected);
}

void AreaOverlayWindow::drawSelection(QPainter& painter, const QRectF& selected) const {
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Qt::white, 1.5));
  painter.drawRect(selected);
  if (!model_.isDrawing()) {
    painter.setBrush(Qt::white);
    painter.setPen(QPen(QColor(0, 0, 0, 90), 1));
    for (const auto& handle : selectionHandles) {
      const auto place = handle.position(*model_.rect());
      painter.drawEllipse(QPointF(place.x, place.y), handleRadius, handleRadius);
    }
  }
  drawLabel(painter, QString::fromStdString(controller_.sizeLabel(model_)), selected.center());
  if (!model_.isDrawing())
    drawLabel(painter, QString::fromUtf8(AreaSelectionOverlayController::hint),
              {selected.center().x(), selected.bottom() + labelDistance});
}

void AreaOverlayWindow::drawLabel(QPainter& painter, const QString& text, const QPointF& middle) const {
  const QFontMetricsF metrics(font());
  QRectF box(0, 0, metrics.horizontalAdvance(text) + 20, metrics.height() + 8);
  box.moveCenter(middle);
  // Whole, wherever the selection is.
  box.moveLeft(std::clamp(box.left(), 4.0, std::max(4.0, width() - box.width() - 4)));
  box.moveTop(std::clamp(box.top(), 4.0, std::max(4.0, height() - box.height() - 4)));
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(20, 20, 22, 210));
  painter.drawRoundedRect(box, 6, 6);
  painter.setPen(Qt::white);
  painter.drawText(box, Qt::AlignCenter, text);
}

void AreaOverlayWindow::keyPressEvent(QKeyEvent* event) {
  // The last thing: the controller may take this window away.
  if (const auto key = keyOf(event->key()))
    controller_.press(*key, event->modifiers().testFlag(Qt::ShiftModifier));
  else
    QWidget::keyPressEvent(event);
}

void AreaOverlayWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  dragStart_ = event->position();
  if (const auto handle = handleAt(dragStart_)) {
    handle_ = *handle;
    drag_ = Drag::resize;
  } else if (model_.rect() && model_.rect()->contains(point(dragStart_))) {
    drag_ = Drag::move;
  } else {
    drag_ = Drag::draw;
  }
}

void AreaOverlayWindow::mouseMoveEvent(QMouseEvent* event) {
  const auto place = event->position();
  const auto moved = point(place - dragStart_);
  switch (drag_) {
    case Drag::none:
      return updateCursor(place);
    case Drag::draw:
      return model_.updateDraw(point(dragStart_), point(place));
    case Drag::move:
      return model_.move(moved);
    case Drag::resize:
      return model_.resize(moved, handle_);
  }
}

void AreaOverlayWindow::mouseReleaseEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const auto ended = std::exchange(drag_, Drag::none);
  if (ended == Drag::draw)
    model_.endDraw();
  else
    model_.endDrag();
  updateCursor(event->position());
}

std::optional<SelectionHandle> AreaOverlayWindow::handleAt(const QPointF& place) const {
  if (!model_.rect()) return std::nullopt;
  for (const auto& handle : selectionHandles) {
    const auto at = handle.position(*model_.rect());
    if (std::hypot(at.x - place.x(), at.y - place.y()) <= gripRadius) return handle;
  }
  return std::nullopt;
}

void AreaOverlayWindow::updateCursor(const QPointF& place) {
  if (const auto handle = handleAt(place))
    setCursor(cursorOf(*handle));
  else if (model_.rect() && model_.rect()->contains(point(place)))
    setCursor(Qt::SizeAllCursor);
  else
    setCursor(Qt::CrossCursor);
}

}  // namespace quillant
