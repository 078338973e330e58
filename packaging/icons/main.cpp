#include <array>
#include <cairo-svg.h>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>

// draw-icons <folder>: the program's icon in every size of the hicolor theme, and one for panels in a single
// colour.
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

// All figures are of a square with sides of 128.
constexpr double side = 128;

/// A quill that writes a line; its vane and its shaft.
void quill(cairo_t* cairo) {
  cairo_move_to(cairo, 104, 20);
  cairo_curve_to(cairo, 72, 22, 46, 42, 42, 82);
  cairo_curve_to(cairo, 70, 82, 98, 64, 104, 20);
  cairo_close_path(cairo);
  cairo_fill(cairo);
  cairo_set_line_width(cairo, 5);
  cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
  cairo_move_to(cairo, 46, 78);
  cairo_line_to(cairo, 30, 104);
  cairo_stroke(cairo);
}

void recordDot(cairo_t* cairo) {
  cairo_arc(cairo, 88, 92, 15, 0, 2 * std::numbers::pi);
  cairo_fill(cairo);
}

void roundedSquare(cairo_t* cairo) {
  constexpr double margin = 6, radius = 28, quarter = std::numbers::pi / 2;
  constexpr double near = margin + radius, far = side - margin - radius;
  cairo_arc(cairo, near, near, radius, 2 * quarter, 3 * quarter);
  cairo_arc(cairo, far, near, radius, 3 * quarter, 4 * quarter);
  cairo_arc(cairo, far, far, radius, 0, quarter);
  cairo_arc(cairo, near, far, radius, quarter, 2 * quarter);
  cairo_close_path(cairo);
}

void drawInColour(cairo_t* cairo) {
  const std::unique_ptr<cairo_pattern_t, decltype(&cairo_pattern_destroy)> ground(
      cairo_pattern_create_linear(0, 0, side, side), &cairo_pattern_destroy);
  cairo_pattern_add_color_stop_rgb(ground.get(), 0, 0.27, 0.34, 0.86);
  cairo_pattern_add_color_stop_rgb(ground.get(), 1, 0.16, 0.12, 0.42);
  cairo_set_source(cairo, ground.get());
  roundedSquare(cairo);
  cairo_fill(cairo);
  cairo_set_source_rgb(cairo, 0.98, 0.98, 1);
  quill(cairo);
  cairo_set_source_rgb(cairo, 1, 0.28, 0.3);
  recordDot(cairo);
}

/// Themes recolour what is drawn in this grey.
void drawSymbol(cairo_t* cairo) {
  cairo_set_source_rgb(cairo, 0.18, 0.2, 0.21);
  quill(cairo);
  recordDot(cairo);
}

std::string inFolder(const std::filesystem::path& folder, const char* name) {
  std::filesystem::create_directories(folder);
  return folder / name;
}

void draw(cairo_surface_t* surface, double size, void (*picture)(cairo_t*)) {
  const Context context(cairo_create(surface), &cairo_destroy);
  cairo_scale(context.get(), size / side, size / side);
  picture(context.get());
  const auto status = cairo_status(context.get());
  if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error(cairo_status_to_string(status));
}

void drawSVG(const std::string& path, double size, void (*picture)(cairo_t*)) {
  const Surface surface(cairo_svg_surface_create(path.c_str(), size, size), &cairo_surface_destroy);
  draw(surface.get(), size, picture);
  cairo_surface_finish(surface.get());
  const auto status = cairo_surface_status(surface.get());
  if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error(path + ": " + cairo_status_to_string(status));
}

void drawPNG(const std::string& path, int size, void (*picture)(cairo_t*)) {
  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, size, size), &cairo_surface_destroy);
  draw(surface.get(), size, picture);
  const auto status = cairo_surface_write_to_png(surface.get(), path.c_str());
  if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error(path + ": " + cairo_status_to_string(status));
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fputs("usage: draw-icons <folder>\n", stderr);
    return 64;
  }
  try {
    const auto theme = std::filesystem::path(arguments[1]) / "hicolor";
    for (const int size : std::to_array({16, 24, 32, 48, 64, 128, 256, 512})) {
      const auto name = std::to_string(size) + "x" + std::to_string(size);
      drawPNG(inFolder(theme / name / "apps", "quillant.png"), size, drawInColour);
    }
    drawSVG(inFolder(theme / "scalable" / "apps", "quillant.svg"), side, drawInColour);
    drawSVG(inFolder(theme / "symbolic" / "apps", "quillant-symbolic.svg"), 16, drawSymbol);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "draw-icons: %s\n", error.what());
    return 70;
  }
  return 0;
}
