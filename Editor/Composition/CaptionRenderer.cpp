#include "Editor/Composition/CaptionRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "Core/Log.h"
#include "Core/Text.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/TextOutline.h"

namespace quillant {

namespace {

using Style = TimelineCaptionStyle;

// Of the font's size.
constexpr double lineSpacing = 1.18;  ///< Of the line, from the font's top to its bottom.
constexpr double boxRadius = 0.3;
constexpr double outlineWidth = 0.16;  ///< Half of it lies under the letters.
constexpr double shadowBlur = 0.25;
constexpr double shadowDrop = 0.06;
constexpr double shadowReach = 0.35;

// Of the canvas.
constexpr double widestBlock = 0.94;
constexpr double gapBelow = 0.06;

constexpr SerializableColor letters{1, 1, 1};
constexpr SerializableColor spoken{1, 0.47843, 0.36078};
constexpr SerializableColor box{0, 0, 0, 0.68};
constexpr SerializableColor outline{0, 0, 0};
constexpr SerializableColor shadow{0, 0, 0, 0.85};

double fontSize(Style style, double canvasHeight) {
  return canvasHeight * (style == Style::plain ? 0.042 : 0.052);
}

Size padding(Style style, double size) {
  return style == Style::box ? Size{size * 0.45, size * 0.22} : Size{size * 0.2, size * 0.15};
}

/// A line of a block: what comes before the word that is spoken, that word, and what comes after. All lines
/// are written in the direction in which the block begins.
TextOutline outlineOf(const CaptionBlock& block, CaptionIndexRange line, std::optional<std::size_t> word,
                      const Font& font) {
  std::array<std::string, 3> parts;
  for (std::size_t i = line.first; i <= line.last; ++i) {
    if (i > line.first) parts[word && i > *word ? 2 : 0] += ' ';
    parts[word && i >= *word ? (i == *word ? 1 : 2) : 0] += block.words[i].text;
  }
  return TextOutline::of(std::array<std::string_view, 3>{parts[0], parts[1], parts[2]}, font, block.text());
}

/// A block's lines in a font in which they fit.
struct SetBlock {
  double size;
  std::vector<TextOutline> lines;

  double width() const { return std::ranges::max(lines, {}, &TextOutline::width).width; }
  double lineHeight() const { return (lines.front().ascent + lines.front().descent) * lineSpacing; }

  static SetBlock of(const CaptionBlock& block, std::optional<std::size_t> word, double size) {
    SetBlock result{size, {}};
    for (const CaptionIndexRange& line : block.lines)
      result.lines.push_back(outlineOf(block, line, word, {.size = size, .isBold = true}));
    return result;
  }
};

SetBlock set(const CaptionBlock& block, std::optional<std::size_t> word, Style style, const Size& canvas) {
  auto result = SetBlock::of(block, word, fontSize(style, canvas.height));
  const double room = canvas.width * widestBlock;
  const double needed = result.width() + 2 * padding(style, result.size).width;
  // A canvas that is higher than wide, or one very long word.
  return needed > room ? SetBlock::of(block, word, result.size * room / needed) : result;
}

/// Where the lines of a set block begin on their baselines, in the block's own pixels.
std::vector<Point> origins(const SetBlock& text, double blockWidth, double top) {
  std::vector<Point> result;
  for (const TextOutline& line : text.lines) {
    result.push_back({(blockWidth - line.width) / 2,
                      top + (text.lineHeight() - line.ascent - line.descent) / 2 + line.ascent});
    top += text.lineHeight();
  }
  return result;
}

/// How far letters, with what reaches around them, stand out of their block: a shadow, marks above capitals,
/// scripts that are higher than the font that sets the line.
double overhang(const SetBlock& text, const std::vector<Point>& origins, const Size& block, double reach) {
  double result = 0;
  for (std::size_t i = 0; i < origins.size(); ++i) {
    const Rect& ink = text.lines[i].ink;
    result = std::max({result, reach - origins[i].x - ink.x, reach - origins[i].y - ink.y,
                       reach + origins[i].x + ink.maxX() - block.width,
                       reach + origins[i].y + ink.maxY() - block.height});
  }
  return std::ceil(result);
}

double reachAroundLetters(Style style, double size) {
  switch (style) {
    case Style::box:
      return 0;
    case Style::outline:
      return size * outlineWidth / 2;
    case Style::plain:
      return size * shadowReach;
  }
  return 0;
}

struct Drawn {
  Image image;
  std::string unwritten;  ///< Characters that no font has.
};

Drawn draw(const CaptionBlock& block, std::optional<std::size_t> word, Style style, const Size& canvas) {
  const auto text = set(block, word, style, canvas);
  const Size around = padding(style, text.size);
  const double width = std::ceil(std::min(text.width() + 2 * around.width, canvas.width * widestBlock));
  const double height =
      std::ceil(text.lineHeight() * static_cast<double>(text.lines.size()) + 2 * around.height);
  const auto lines = origins(text, width, around.height);
  const double margin = overhang(text, lines, {width, height}, reachAroundLetters(style, text.size));

  Canvas picture(static_cast<int>(width + 2 * margin), static_cast<int>(height + 2 * margin));
  picture.translate(margin, margin);
  if (style == Style::box)
    picture.fill(Path().roundedRectangle({0, 0, width, height}, text.size * boxRadius), box);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const TextOutline& line = text.lines[i];
    const Point& origin = lines[i];
    picture.translate(origin.x, origin.y);
    if (style == Style::outline)
      for (const Path& part : line.parts) picture.stroke(part, outline, text.size * outlineWidth);
    for (std::size_t part = 0; part < line.parts.size(); ++part)
      picture.fill(line.parts[part], part == 1 ? spoken : letters);
    picture.translate(-origin.x, -origin.y);
    line.drawPictures(picture, {margin + origin.x, margin + origin.y});
  }
  if (style == Style::plain)
    picture.castShadow(
        {.offset = {0, text.size * shadowDrop}, .blur = text.size * shadowBlur, .color = shadow});

  // On whole pixels: letters stay as sharp as they were drawn.
  Drawn drawn{.image = Image::picture(std::move(picture).take())
                           .transformed(AffineTransform::translation(
                               std::round((canvas.width - width) / 2) - margin,
                               std::round(canvas.height * (1 - gapBelow) - height) - margin))};
  for (const TextOutline& line : text.lines) drawn.unwritten += line.unwritten;
  return drawn;
}

}  // namespace

CaptionRenderer& CaptionRenderer::shared() {
  static CaptionRenderer renderer;
  return renderer;
}

std::optional<Image> CaptionRenderer::image(const PreparedCaptions& captions, double outputTime,
                                            const Size& renderSize) {
  const auto shown = captions.at(outputTime);
  const Size canvas{std::floor(renderSize.width), std::floor(renderSize.height)};
  if (!shown || !(canvas.width > 0 && canvas.height > 0)) return std::nullopt;
  const std::string& key = captions.key(shown->block);
  {
    const std::lock_guard guard(lock_);
    const auto* found = drawn_.find([&](const Entry& entry) {
      return entry.word == shown->word && entry.canvas == canvas && entry.block == key;
    });
    if (found) return found->image;
  }
  try {
    auto [image, unwritten] =
        draw(captions.plan().blocks[shown->block], shown->word, captions.plan().style, canvas);
    const std::lock_guard guard(lock_);
    tell(unwritten);
    return drawn_.add({key, shown->word, canvas, std::move(image)}).image;
  } catch (const DrawingError&) {
    return std::nullopt;
  }
}

void CaptionRenderer::tell(const std::string& unwritten) {
  std::string fresh;
  for (const auto character : Text::characters(unwritten))
    if (told_.emplace(character).second) fresh += character;
  if (!fresh.empty()) Log::write("captions are drawn without “{}”: no font of this system has that", fresh);
}

}  // namespace quillant
