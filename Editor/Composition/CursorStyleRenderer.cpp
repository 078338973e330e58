#include "Editor/Composition/CursorStyleRenderer.h"

#include <algorithm>

#include "DrawKit/Canvas.h"
#include "DrawKit/DrawingError.h"
#include "Editor/Composition/CursorGlyphDrawing.h"
#include "Editor/Project/CursorStyleRegistry.h"

namespace quillant::CursorStyleRenderer {

namespace {

// Of the glyph's size.
constexpr double marginRatio = 0.22;  ///< On every side, for the outline and the shadow.
constexpr double shadowDropRatio = 0.045;
constexpr double shadowBlurRatio = 0.1;

/// A side in whole pixels. What is too long for a canvas stays too long, and a number.
int wholeSide(double side) {
  return static_cast<int>(std::clamp(side, 1.0, Canvas::longestSide + 1.0));
}

}  // namespace

std::optional<CursorRenderedGlyph> renderedGlyph(std::string_view styleID, double size) {
  const auto* style = CursorStyleRegistry::definition(styleID);
  if (!style) return std::nullopt;
  const double pixels = std::max(1.0, size * style->defaultScale);
  const double margin = pixels * marginRatio;
  const auto drawing = CursorGlyphDrawing::of(*style, pixels);
  const Size whole{drawing.canvasSize.width + 2 * margin, drawing.canvasSize.height + 2 * margin};
  try {
    Canvas canvas(wholeSide(whole.width), wholeSide(whole.height));
    canvas.translate(margin, margin);
    if (drawing.fillsShape) canvas.fill(drawing.path, *style->fill);
    canvas.stroke(drawing.path, style->stroke, drawing.strokeWidth);
    canvas.castShadow(
        {.offset = {0, pixels * shadowDropRatio}, .blur = pixels * shadowBlurRatio, .color = style->shadow});
    return CursorRenderedGlyph{.image = std::move(canvas).take(),
                               .canvasSize = whole,
                               .hotspot = {drawing.hotspot.x + margin, drawing.hotspot.y + margin}};
  } catch (const DrawingError&) {
    return std::nullopt;
  }
}

}  // namespace quillant::CursorStyleRenderer
