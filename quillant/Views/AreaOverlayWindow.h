#pragma once

#include <QPixmap>
#include <QWidget>
#include <optional>

#include "Core/Signal.h"
#include "quillant/Models/AreaSelectionOverlayController.h"

namespace quillant {

/// The selection of an area on one display: its picture, darkened but for what is selected.
class AreaOverlayWindow : public QWidget {
 public:
  /// `picture` is what the display shows, without this window. Controller and model outlive it.
  AreaOverlayWindow(AreaSelectionOverlayController& controller, AreaSelectionModel& model, QPixmap picture);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  enum class Drag { none, draw, move, resize };

  std::optional<SelectionHandle> handleAt(const QPointF& place) const;
  void updateCursor(const QPointF& place);
  void drawSelection(QPainter& painter, const QRectF& rect) const;
  void drawLabel(QPainter& painter, const QString& text, const QPointF& middle) const;

  AreaSelectionOverlayController& controller_;
  AreaSelectionModel& model_;
  const QPixmap picture_;
  Drag drag_ = Drag::none;
  SelectionHandle handle_;
  QPointF dragStart_;
  Connection connection_;
};

}  // namespace quillant
