#include "quillant/Views/TrayIcon.h"

#include <QPainter>
#include <QPixmap>

#include "quillant/Views/Theme.h"

namespace quillant::TrayIcon {

namespace {

/// A ring with a dot in it, in one colour.
QIcon drawn(const QColor& color) {
  QIcon icon;
  for (const int side : {16, 22, 24, 32, 48, 64}) {
    QPixmap picture(side, side);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    const double line = side / 11.0;
    const QPointF middle(side / 2.0, side / 2.0);
    painter.setPen(QPen(color, line));
    painter.drawEllipse(middle, side / 2.0 - 1.5 * line, side / 2.0 - 1.5 * line);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(middle, side / 4.5, side / 4.5);
    painter.end();
    icon.addPixmap(picture);
  }
  return icon;
}

}  // namespace

QIcon idle(const QPalette& palette) {
  return QIcon::fromTheme("quillant-symbolic", drawn(palette.color(QPalette::WindowText)));
}

QIcon recording() {
  return drawn(Theme::recordColor());
}

}  // namespace quillant::TrayIcon
