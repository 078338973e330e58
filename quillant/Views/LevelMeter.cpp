#include "quillant/Views/LevelMeter.h"

#include <QPainter>
#include <QPalette>
#include <utility>

#include "quillant/Views/Theme.h"

namespace quillant {

namespace {

constexpr int barWidth = 5;
constexpr int gap = 2;
constexpr int barHeight = 10;

}  // namespace

LevelMeter::LevelMeter(int bars, QWidget* parent) : QWidget(parent), bars_(bars) {
  setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void LevelMeter::setLit(int lit) {
  if (std::exchange(lit_, lit) != lit) update();
}

QSize LevelMeter::sizeHint() const {
  return {bars_ * (barWidth + gap) - gap, barHeight};
}

void LevelMeter::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  const bool isRightToLeft = layoutDirection() == Qt::RightToLeft;
  for (int bar = 0; bar < bars_; ++bar) {
    painter.setBrush(bar < lit_ ? Theme::levelColor() : Theme::faint(palette()));
    const int place = isRightToLeft ? bars_ - 1 - bar : bar;
    painter.drawRoundedRect(QRectF(place * (barWidth + gap), 0, barWidth, barHeight), 1.5, 1.5);
  }
}

}  // namespace quillant
