#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/Path.h"

namespace quillant {

/// A font of the system, found by name. Where there is none of that name, the nearest is taken.
struct Font {
  std::string family = "sans-serif";
  double size = 16;  ///< Pixels.
  bool isBold = false;
};

/// A line of text as outlines, to be filled and stroked as any path. Pixels; the origin is where the line's
/// baseline begins, y goes down. Nothing is hinted: a line is the same at every place.
struct TextOutline {
  /// Letters that are pictures in colours of their own and have no outline, as emoji are: premultiplied BGRA.
  struct Picture {
    PixelBufferRef pixels;
    Point corner;  ///< The top left one.
  };

  std::vector<Path> parts;  ///< One for each part of the text.
  std::vector<Picture> pictures;
  double width = 0;       ///< From one end of the line to the other, blanks included.
  double ascent = 0;      ///< Of the font, above the baseline.
  double descent = 0;     ///< Of the font, below it.
  Rect ink;               ///< What outlines and pictures cover, which may be more than the font's line.
  std::string unwritten;  ///< Characters, each once, for which no font of the system has a letter. Left out.

  /// `parts` are UTF-8 and follow each other without a gap; together they are shaped as one line, in the
  /// writing direction of the `paragraph` that they are a line of (empty: of all of it). Any thread; the
  /// first call on a thread looks for the fonts.
  static TextOutline of(std::span<const std::string_view> parts, const Font& font,
                        std::string_view paragraph = {});

  /// Draws the pictures, on whole pixels, of a line whose origin is at that pixel of the canvas.
  void drawPictures(Canvas& canvas, Point origin) const;
};

}  // namespace quillant
