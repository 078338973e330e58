#include "DrawKit/Canvas.h"

#include <algorithm>
#include <cairo/cairo.h>
#include <cmath>
#include <utility>

#include "DrawKit/DrawingError.h"
#include "DrawKit/GaussianBlur.h"

namespace quillant {

namespace {

struct Release {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using SurfaceHandle = std::unique_ptr<cairo_surface_t, Release>;

/// Cairo's own view of a bitmap's memory: the layout is the same, so that nothing is copied.
SurfaceHandle surfaceOver(std::uint32_t* pixels, int width, int height) {
  return SurfaceHandle(cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels),
                                                           CAIRO_FORMAT_ARGB32, width, height, width * 4));
}

void setColor(cairo_t* context, const RGBA& color) {
  cairo_set_source_rgba(context, color.red, color.green, color.blue, color.alpha);
}

struct Trace {
  cairo_t* context;
  void operator()(const Path::Move& move) const { cairo_move_to(context, move.to.x, move.to.y); }
  void operator()(const Path::Line& line) const { cairo_line_to(context, line.to.x, line.to.y); }
  void operator()(const Path::Curve& curve) const {
    cairo_curve_to(context, curve.control1.x, curve.control1.y, curve.control2.x, curve.control2.y,
                   curve.to.x, curve.to.y);
  }
  void operator()(const Path::Close&) const { cairo_close_path(context); }
};

void trace(cairo_t* context, const Path& path) {
  cairo_new_path(context);
  for (const Path::Element& element : path.elements) std::visit(Trace{context}, element);
}

}  // namespace

struct Canvas::Surface {
  explicit Surface(Bitmap blank)
      : bitmap(std::move(blank)),
        surface(surfaceOver(bitmap.pixels.data(), bitmap.width, bitmap.height)),
        context(cairo_create(surface.get())) {
    cairo_set_line_join(context.get(), CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(context.get(), CAIRO_LINE_CAP_ROUND);
    cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_BEST);
    // A curve's default error of a tenth of a pixel shows as corners in the round ends of a large glyph.
    cairo_set_tolerance(context.get(), 0.02);
  }

  Bitmap bitmap;
  SurfaceHandle surface;
  std::unique_ptr<cairo_t, Release> context;
};

Canvas::Canvas(int width, int height) {
  const auto fits = [](int side) { return side >= 1 && side <= longestSide; };
  if (!fits(width) || !fits(height)) throw DrawingError(DrawingError::Kind::size);
  surface_ = std::make_unique<Surface>(Bitmap(width, height));
}

Canvas::~Canvas() = default;

void Canvas::translate(double right, double down) {
  cairo_translate(surface_->context.get(), right, down);
}

void Canvas::fill(const Path& path, const RGBA& color) {
  cairo_t* context = surface_->context.get();
  trace(context, path);
  setColor(context, color);
  cairo_fill(context);
}

void Canvas::stroke(const Path& path, const RGBA& color, double lineWidth) {
  cairo_t* context = surface_->context.get();
  trace(context, path);
  setColor(context, color);
  cairo_set_line_width(context, lineWidth);
  cairo_stroke(context);
}

void Canvas::draw(const Bitmap& bitmap, Point corner) {
  cairo_t* context = surface_->context.get();
  // Only read from.
  const SurfaceHandle source =
      surfaceOver(const_cast<std::uint32_t*>(bitmap.pixels.data()), bitmap.width, bitmap.height);
  cairo_save(context);
  cairo_identity_matrix(context);
  cairo_set_source_surface(context, source.get(), corner.x, corner.y);
  cairo_paint(context);
  // The context must not keep the caller's memory as its source.
  cairo_restore(context);
}

void Canvas::castShadow(const Shadow& shadow) {
  cairo_surface_flush(surface_->surface.get());
  const Bitmap& body = surface_->bitmap;
  std::vector<float> coverage(body.pixels.size());
  std::ranges::transform(body.pixels, coverage.begin(),
                         [](std::uint32_t pixel) { return static_cast<float>(pixel >> 24); });
  GaussianBlur::blur(coverage, body.width, shadow.blur / 2);
  Bitmap mask(body.width, body.height);
  std::ranges::transform(coverage, mask.pixels.begin(), [](float value) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0f, 255.0f))) << 24;
  });

  const SurfaceHandle soft = surfaceOver(mask.pixels.data(), mask.width, mask.height);
  cairo_t* context = surface_->context.get();
  cairo_save(context);
  cairo_identity_matrix(context);
  cairo_set_operator(context, CAIRO_OPERATOR_DEST_OVER);
  setColor(context, shadow.color);
  cairo_mask_surface(context, soft.get(), shadow.offset.x, shadow.offset.y);
  cairo_restore(context);
}

Bitmap Canvas::take() && {
  cairo_surface_flush(surface_->surface.get());
  if (cairo_status(surface_->context.get()) != CAIRO_STATUS_SUCCESS)
    throw DrawingError(DrawingError::Kind::drawing);
  return std::move(surface_->bitmap);
}

}  // namespace quillant
