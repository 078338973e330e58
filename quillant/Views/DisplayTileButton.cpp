#include "quillant/Views/DisplayTileButton.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>

#include "quillant/Views/Pictures.h"
#include "quillant/Views/Theme.h"

namespace quillant {

namespace {

constexpr QSize pictureSize(148, 84);
constexpr int margin = 4;
constexpr int radius = 6;

}  // namespace

DisplayTileButton::DisplayTileButton(QWidget* parent) : QAbstractButton(parent) {
  setCheckable(true);
  setFocusPolicy(Qt::StrongFocus);
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void DisplayTileButton::apply(const DisplayTile& tile) {
  picture_ = Pictures::image(tile.thumbnail);
  const auto name = QString::fromStdString(tile.name);
  setText(name);
  setAccessibleName(
      tile.isMain ? QCoreApplication::translate("DisplayTileButton", "%1, main display").arg(name) : name);
  setChecked(tile.isSelected);
  update();
}

QSize DisplayTileButton::sizeHint() const {
  return {pictureSize.width() + 2 * margin, pictureSize.height() + 3 * margin + fontMetrics().height()};
}

void DisplayTileButton::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
  const QRect frame((width() - pictureSize.width()) / 2, margin, pictureSize.width(), pictureSize.height());
  QPainterPath outline;
  outline.addRoundedRect(QRectF(frame), radius, radius);
  painter.fillPath(outline, Theme::faint(palette()));
  if (!picture_.isNull()) {
    painter.setClipPath(outline);
    QRect place(QPoint(), picture_.size().scaled(frame.size(), Qt::KeepAspectRatio));
    place.moveCenter(frame.center());
    painter.drawImage(place, picture_);
    painter.setClipping(false);
  }
  if (isChecked() || hasFocus()) {
    const auto color = palette().color(QPalette::Highlight);
    painter.setPen(QPen(color, isChecked() ? 2.5 : 1, isChecked() ? Qt::SolidLine : Qt::DotLine));
    painter.drawPath(outline);
  }
  painter.setPen(palette().color(QPalette::WindowText));
  const QRect label(0, frame.bottom() + margin, width(), fontMetrics().height());
  painter.drawText(label, Qt::AlignCenter,
                   fontMetrics().elidedText(text(), Qt::ElideMiddle, label.width() - 2 * margin));
}

}  // namespace quillant
