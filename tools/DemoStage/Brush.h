#pragma once

#include <span>
#include <string_view>
#include <utility>

#include "DrawKit/Canvas.h"
#include "DrawKit/TextOutline.h"

namespace quillant {

enum class Align { left, center, right };

/// Flat shapes and lines of text on a picture of its own. Pixels, origin top left.
class Brush {
 public:
  Brush(int width, int height) : canvas_(width, height) {}

  void box(const Rect& bounds, const SerializableColor& color, double radius = 0);
  void disc(Point center, double radius, const SerializableColor& color);
  void line(std::span<const Point> points, const SerializableColor& color, double width);
  void area(std::span<const Point> points, const SerializableColor& color);
  /// One line; `at` is on its baseline. Returns its width.
  double text(std::string_view words, Point at, const Font& font, const SerializableColor& color,
              Align align = Align::left);
  /// Lines no wider than `width`, broken between words; returns the baseline below the last.
  double paragraph(std::string_view words, Point at, double width, double lineHeight, const Font& font,
                   const SerializableColor& color);
  /// Lays a picture with shadow of its own over what is there.
  void put(const PixelBuffer& picture, Point corner) { canvas_.draw(picture, corner); }
  void castShadow(const Shadow& shadow) { canvas_.castShadow(shadow); }

  PixelBufferRef take() && { return std::move(canvas_).take(); }

 private:
  Canvas canvas_;
};

}  // namespace quillant
