#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

/// The colours of our own, each right on a light and on a dark palette.
namespace quillant::Theme {

inline QColor recordColor() {
  return {0xe0, 0x3a, 0x3e};
}
inline QColor levelColor() {
  return {0x2f, 0xb3, 0x5a};
}
/// What is there but not in use: lines, and bars that are not lit.
QColor faint(const QPalette& palette);
/// Behind a warning, and behind what keeps from recording.
QColor warningBackground(const QPalette& palette);
QColor blockBackground(const QPalette& palette);

/// For pictures of the views: what a desktop with such a theme gives.
QPalette light();
QPalette dark();

}  // namespace quillant::Theme
