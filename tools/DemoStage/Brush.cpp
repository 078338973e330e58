#include "tools/DemoStage/Brush.h"

#include <algorithm>
#include <string>

namespace quillant {

void Brush::box(const Rect& bounds, const SerializableColor& color, double radius) {
  canvas_.fill(Path().roundedRectangle(bounds, radius), color);
}

void Brush::disc(Point center, double radius, const SerializableColor& color) {
  canvas_.fill(Path().ellipse({center.x - radius, center.y - radius, 2 * radius, 2 * radius}), color);
}

void Brush::line(std::span<const Point> points, const SerializableColor& color, double width) {
  Path path;
  path.moveTo(points.front());
  for (const auto& point : points.subspan(1)) path.lineTo(point);
  canvas_.stroke(path, color, width);
}

void Brush::area(std::span<const Point> points, const SerializableColor& color) {
  canvas_.fill(Path().polygon(points), color);
}

double Brush::text(std::string_view words, Point at, const Font& font, const SerializableColor& color,
                   Align align) {
  const auto outline = TextOutline::of({&words, 1}, font);
  if (align == Align::center) at.x -= outline.width / 2;
  if (align == Align::right) at.x -= outline.width;
  canvas_.translate(at.x, at.y);
  canvas_.fill(outline.parts.front(), color);
  canvas_.translate(-at.x, -at.y);
  return outline.width;
}

double Brush::paragraph(std::string_view words, Point at, double width, double lineHeight, const Font& font,
                        const SerializableColor& color) {
  std::string line;
  const auto flush = [&] {
    text(line, at, font, color);
    at.y += lineHeight;
    line.clear();
  };
  while (!words.empty()) {
    const auto end = std::min(words.find(' '), words.size());
    const auto longer =
        line.empty() ? std::string(words.substr(0, end)) : line + ' ' + std::string(words.substr(0, end));
    const std::string_view whole = longer;
    if (!line.empty() && TextOutline::of({&whole, 1}, font).width > width) {
      flush();
      continue;
    }
    line = longer;
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  if (!line.empty()) flush();
  return at.y;
}

}  // namespace quillant
