#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

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
  std::vector<Path> parts;  ///< One for each part of the text.
  double width = 0;         ///< From one end of the line to the other, blanks included.
  double ascent = 0;        ///< Of the font, above the baseline.
  double descent = 0;       ///< Of the font, below it.

  /// `parts` are UTF-8 and follow each other without a gap; together they are shaped as one line, whatever
  /// its writing direction. What no font of the system has an outline for is left out, and so are pictures in
  /// place of letters. Any thread; the first call on a thread looks for the fonts.
  static TextOutline of(std::span<const std::string_view> parts, const Font& font);
};

}  // namespace quillant
