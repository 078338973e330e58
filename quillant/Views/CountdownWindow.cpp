#include "quillant/Views/CountdownWindow.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>
#include <utility>

namespace quillant {

CountdownWindow::CountdownWindow(CountdownOverlayController& controller, QPixmap picture)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool),
      controller_(controller),
      picture_(std::move(picture)),
      connection_(controller.model().changed.connect([this] { update(); })) {
  setFixedSize(size);
  setWindowTitle(QCoreApplication::translate("CountdownWindow", "The recording is about to begin"));
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void CountdownWindow::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.drawPixmap(rect(), picture_);
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor(20, 20, 22, 215));
  painter.drawEllipse(rect().adjusted(2, 2, -2, -2));
  painter.setPen(Qt::white);
  auto large = font();
  large.setPixelSize(height() / 2);
  large.setBold(true);
  painter.setFont(large);
  painter.drawText(rect(), Qt::AlignCenter, QString::number(controller_.model().remaining));
}

void CountdownWindow::keyPressEvent(QKeyEvent* event) {
  // The last thing: the controller may take this window away.
  if (event->key() == Qt::Key_Escape)
    controller_.cancel();
  else
    QWidget::keyPressEvent(event);
}

}  // namespace quillant
