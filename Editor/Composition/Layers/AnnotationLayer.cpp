#include "Editor/Composition/Layers/AnnotationLayer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "Core/Text.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/TextOutline.h"

namespace quillant {

namespace {

// Pixels.
constexpr double perCharacter = 18;
constexpr double narrowest = 180;
constexpr double heightAroundLetters = 24;
constexpr double cornerRadius = 10;
constexpr double margin = 8;  ///< Between the text and either end of the box.

constexpr double widest = 0.72;  ///< Of the canvas.

constexpr SerializableColor letters{1, 1, 1};
constexpr SerializableColor box{0, 0, 0, 0.62};

/// A line of text that is set smaller where it would be wider than `room`.
TextOutline set(std::string_view text, double size, double room) {
  const std::array parts{text};
  auto line = TextOutline::of(parts, {.size = size});
  return line.width > room ? TextOutline::of(parts, {.size = size * room / line.width}) : line;
}

double placed(double fraction, double length, double canvas) {
  return std::round(std::clamp(fraction * canvas - length / 2, 0.0, std::max(0.0, canvas - length)));
}

Image draw(const TimelineAnnotationRegion& region, const Size& canvas) {
  const auto characters = static_cast<double>(Text::characters(region.text).size());
  const double width = std::min(std::max(perCharacter * characters, narrowest), widest * canvas.width);
  const double size = std::clamp(region.fontSize, 1.0, std::max(1.0, canvas.height - heightAroundLetters));
  const double height = size + heightAroundLetters;
  const auto line = set(region.text, size, std::max(1.0, width - 2 * margin));

  Canvas picture(static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(height)));
  picture.fill(Path().roundedRectangle({0, 0, width, height}, cornerRadius), box);
  const Point origin{(width - line.width) / 2, (height + line.ascent - line.descent) / 2};
  picture.translate(origin.x, origin.y);
  for (const Path& part : line.parts) picture.fill(part, letters);
  line.drawPictures(picture, origin);
  return Image::picture(std::move(picture).take())
      .transformed(AffineTransform::translation(placed(region.x, width, canvas.width),
                                                placed(region.y, height, canvas.height)));
}

}  // namespace

std::optional<Image> AnnotationLayer::image(const TimelineAnnotationRegion& region, const Size& canvas) {
  if (const auto* found =
          drawn_.find([&](const Entry& entry) { return entry.canvas == canvas && entry.region == region; }))
    return found->image;
  try {
    return drawn_.add({region, canvas, draw(region, canvas)}).image;
  } catch (const DrawingError&) {
    return std::nullopt;
  }
}

}  // namespace quillant
