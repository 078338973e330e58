#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <vector>

#include "Core/Error.h"
#include "DrawKit/Canvas.h"
#include "DrawKit/PNGImage.h"
#include "Editor/Composition/CursorStyleRenderer.h"
#include "Editor/Project/CursorStyleRegistry.h"

// Draws every cursor style at the sizes users choose, on a light and on a dark ground, into a PNG to look at.

namespace {

using namespace quillant;

constexpr double gap = 12;

struct Cell {
  PixelBufferRef glyph;
  Point corner;
};

/// One row a size, one column a style; the sheet's size comes with it.
struct Sheet {
  std::vector<Cell> cells;
  double width = gap;
  double height = gap;
};

Sheet layOut() {
  constexpr std::array sizes{1.0, 2.0, 4.0, 8.0};
  constexpr double pixelsAtSizeOne = 20;
  Sheet sheet;
  for (const double size : sizes) {
    double x = gap, rowHeight = 0;
    std::vector<Cell> row;
    for (const auto& style : CursorStyleRegistry::styles()) {
      // As wide as the largest below, so that columns line up.
      const auto largest = CursorStyleRenderer::renderedGlyph(style.id, sizes.back() * pixelsAtSizeOne);
      auto glyph = CursorStyleRenderer::renderedGlyph(style.id, size * pixelsAtSizeOne);
      const double column = largest->image->width;
      rowHeight = std::max(rowHeight, static_cast<double>(glyph->image->height));
      row.push_back({std::move(glyph->image), {x, sheet.height}});
      row.back().corner.x += std::floor((column - row.back().glyph->width) / 2);
      x += column + gap;
    }
    for (Cell& cell : row) {
      cell.corner.y += std::floor((rowHeight - cell.glyph->height) / 2);
      sheet.cells.push_back(std::move(cell));
    }
    sheet.width = std::max(sheet.width, x);
    sheet.height += rowHeight + gap;
  }
  return sheet;
}

PixelBufferRef draw(const Sheet& sheet) {
  Canvas canvas(static_cast<int>(sheet.width), static_cast<int>(2 * sheet.height));
  const std::array grounds{SerializableColor{0.96, 0.96, 0.97}, SerializableColor{0.13, 0.14, 0.17}};
  for (std::size_t half = 0; half < grounds.size(); ++half) {
    const double top = static_cast<double>(half) * sheet.height;
    canvas.fill(Path().rectangle({0, top, sheet.width, sheet.height}), grounds[half]);
    for (const Cell& cell : sheet.cells) canvas.draw(*cell.glyph, {cell.corner.x, cell.corner.y + top});
  }
  return std::move(canvas).take();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: cursor-sheet <file.png>\n", stderr);
    return 2;
  }
  try {
    PNGImage::write(*draw(layOut()), argv[1]);
    return 0;
  } catch (const Error& error) {
    std::fprintf(stderr, "cursor-sheet: %s\n", error.description().c_str());
    return 1;
  }
}
