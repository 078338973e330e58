#include "Editor/Composition/CursorGlyphDrawing.h"

#include <algorithm>
#include <array>

namespace quillant {

namespace {

/// A glyph at size 1.
struct Outline {
  Size canvas;
  double strokeWidth;
  double thinnestStroke;  ///< Pixels at any size: below one an outline would fade away.
  Path path;
};

Outline arrow() {
  constexpr std::array<Point, 7> corners{
      {{0, 0}, {0, 1.18}, {0.24, 0.88}, {0.45, 1.3}, {0.64, 1.23}, {0.43, 0.82}, {0.78, 0.76}}};
  return {{0.86, 1.36}, 0.058, 1, Path().polygon(corners)};
}

/// A beam between two bars, as one figure: its outline does not cross its inside.
Outline iBeam() {
  constexpr Size canvas{0.6, 1.2};
  constexpr double middle = canvas.width / 2, bar = 0.62 / 2, beam = 0.1 / 2, height = 0.12;
  constexpr double foot = canvas.height - height;
  constexpr std::array<Point, 12> corners{{{middle - bar, 0},
                                           {middle + bar, 0},
                                           {middle + bar, height},
                                           {middle + beam, height},
                                           {middle + beam, foot},
                                           {middle + bar, foot},
                                           {middle + bar, canvas.height},
                                           {middle - bar, canvas.height},
                                           {middle - bar, foot},
                                           {middle - beam, foot},
                                           {middle - beam, height},
                                           {middle - bar, height}}};
  return {canvas, 0.04, 1, Path().polygon(corners)};
}

/// Pointing up with the forefinger, the thumb spread out to the left and three fingers folded in.
Path handPath() {
  Path path;
  path.moveTo({0.4054, 0.68})
      .lineTo({0.4054, 0.09})
      .curveTo({0.4054, 0.04}, {0.4434, 0}, {0.4914, 0})
      .curveTo({0.5394, 0}, {0.5774, 0.04}, {0.5774, 0.09})
      .lineTo({0.5774, 0.49})
      // Three knuckles, each lower than the one before.
      .curveTo({0.5774, 0.395}, {0.688, 0.395}, {0.688, 0.5})
      .curveTo({0.688, 0.425}, {0.799, 0.43}, {0.799, 0.54})
      .curveTo({0.799, 0.475}, {0.91, 0.49}, {0.91, 0.61})
      // The outer edge of the palm, the wrist.
      .lineTo({0.91, 0.84})
      .curveTo({0.91, 0.97}, {0.85, 1.02}, {0.84, 1.18})
      .curveTo({0.837, 1.22}, {0.815, 1.24}, {0.78, 1.24})
      .lineTo({0.39, 1.24})
      .curveTo({0.355, 1.24}, {0.332, 1.222}, {0.325, 1.185})
      // The ball of the thumb, and its tip.
      .curveTo({0.3, 1.05}, {0.13, 0.93}, {0.022, 0.765})
      .curveTo({-0.0555, 0.645}, {0.09, 0.56}, {0.185, 0.645})
      .curveTo({0.25, 0.7}, {0.32, 0.745}, {0.4054, 0.81})
      .close();
  // The creases between the folded fingers.
  path.moveTo({0.5774, 0.49}).lineTo({0.5774, 0.62});
  path.moveTo({0.688, 0.5}).lineTo({0.688, 0.635});
  path.moveTo({0.799, 0.54}).lineTo({0.799, 0.655});
  return path;
}

Outline hand() {
  return {{0.91, 1.3}, 0.052, 1, handPath()};
}

Outline circle(double diameter, double strokeWidth, double thinnestStroke) {
  constexpr double side = 0.9;
  const double corner = (side - diameter) / 2;
  return {{side, side}, strokeWidth, thinnestStroke, Path().ellipse({corner, corner, diameter, diameter})};
}

Outline outline(const CursorStyleDefinition& style) {
  switch (style.renderKind) {
    case CursorRenderKind::arrow:
      return arrow();
    case CursorRenderKind::hand:
      return hand();
    case CursorRenderKind::iBeam:
      return iBeam();
    case CursorRenderKind::dot:
      return circle(style.fill ? 0.82 : 0.58, 0.055, 1);
    case CursorRenderKind::ring:
      return circle(0.82, 0.1, 0);
    case CursorRenderKind::spotlight:
      return circle(0.9, 0.055, 0);
  }
  return arrow();
}

struct HotspotOn {
  Size canvas;
  Point operator()(CursorHotspotTopLeft) const { return {}; }
  Point operator()(CursorHotspotCenter) const { return {canvas.width / 2, canvas.height / 2}; }
  Point operator()(CursorHotspotProportional rule) const {
    return {canvas.width * rule.x, canvas.height * rule.y};
  }
};

}  // namespace

CursorGlyphDrawing CursorGlyphDrawing::of(const CursorStyleDefinition& style, double size) {
  const Outline shape = outline(style);
  const Size canvas{shape.canvas.width * size, shape.canvas.height * size};
  return {.path = shape.path.scaled(size),
          .canvasSize = canvas,
          .hotspot = std::visit(HotspotOn{canvas}, style.hotspot),
          .strokeWidth = std::max(shape.strokeWidth * size, shape.thinnestStroke),
          .fillsShape = style.fill.has_value()};
}

}  // namespace quillant
