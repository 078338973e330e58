#include "quillant/Views/Theme.h"

namespace quillant::Theme {

namespace {

QColor blended(const QColor& over, const QColor& under, double amount) {
  const auto mix = [amount](int first, int second) {
    return static_cast<int>(first * amount + second * (1 - amount));
  };
  return {mix(over.red(), under.red()), mix(over.green(), under.green()), mix(over.blue(), under.blue())};
}

QPalette made(const QColor& window, const QColor& base, const QColor& button, const QColor& text) {
  QPalette palette(button, window);
  palette.setColor(QPalette::Window, window);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::AlternateBase, window);
  palette.setColor(QPalette::Button, button);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
    palette.setColor(role, text);
  const auto weak = blended(text, window, 0.5);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, weak);
  palette.setColor(QPalette::PlaceholderText, weak);
  palette.setColor(QPalette::Highlight, {0x2d, 0x6c, 0xdf});
  palette.setColor(QPalette::HighlightedText, Qt::white);
  return palette;
}

}  // namespace

QColor faint(const QPalette& palette) {
  return blended(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.16);
}

QColor warningBackground(const QPalette& palette) {
  return blended({0xe8, 0xa3, 0x17}, palette.color(QPalette::Window), 0.22);
}

QColor blockBackground(const QPalette& palette) {
  return blended(recordColor(), palette.color(QPalette::Window), 0.22);
}

QPalette light() {
  return made({0xf5, 0xf5, 0xf6}, Qt::white, {0xe9, 0xe9, 0xeb}, {0x1d, 0x1d, 0x20});
}

QPalette dark() {
  return made({0x26, 0x26, 0x29}, {0x1c, 0x1c, 0x1f}, {0x3a, 0x3a, 0x3e}, {0xee, 0xee, 0xf0});
}

}  // namespace quillant::Theme
