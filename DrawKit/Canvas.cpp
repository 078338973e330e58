#include "DrawKit/Canvas.h"

#include <algorithm>
#include <cairo/cairo.h>
#include <cmath>
#include <span>
#include <utility>
#include <vector>

#include "DrawKit/CairoPicture.h"
#include "DrawKit/DrawingError.h"
#include "DrawKit/GaussianBlur.h"

namespace quillant {

namespace {

/// Of a picture that `CairoPicture::blank` made.
std::span<std::uint32_t> pixelsOf(const PixelBuffer& picture) {
  return *static_cast<std::vector<std::uint32_t>*>(picture.memory.get());
}

void setColor(cairo_t* context, const SerializableColor& color) {
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
  Surface(int width, int height)
      : picture(CairoPicture::blank(width, height)),
        surface(CairoPicture::surface(picture)),
        context(cairo_create(surface.get())) {
    cairo_set_line_join(context.get(), CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_cap(context.get(), CAIRO_LINE_CAP_ROUND);
    cairo_set_antialias(context.get(), CAIRO_ANTIALIAS_BEST);
    // A curve's default error of a tenth of a pixel shows as corners in the round ends of a large glyph.
    cairo_set_tolerance(context.get(), 0.02);
  }

  PixelBuffer picture;
  CairoHandle<cairo_surface_t> surface;
  CairoHandle<cairo_t> context;
};

Canvas::Canvas(int width, int height) {
  const auto fits = [](int side) { return side >= 1 && side <= longestSide; };
  if (!fits(width) || !fits(height)) throw DrawingError(DrawingError::Kind::size);
  surface_ = std::make_unique<Surface>(width, height);
}

Canvas::~Canvas() = default;

void Canvas::translate(double right, double down) {
  cairo_translate(surface_->context.get(), right, down);
}

void Canvas::fill(const Path& path, const SerializableColor& color) {
  cairo_t* context = surface_->context.get();
  trace(context, path);
  setColor(context, color);
  cairo_fill(context);
}

void Canvas::stroke(const Path& path, const SerializableColor& color, double lineWidth) {
  cairo_t* context = surface_->context.get();
  trace(context, path);
  setColor(context, color);
  cairo_set_line_width(context, lineWidth);
  cairo_stroke(context);
}

void Canvas::draw(const PixelBuffer& picture, Point corner) {
  cairo_t* context = surface_->context.get();
  const auto source = CairoPicture::surface(picture);
  cairo_save(context);
  cairo_identity_matrix(context);
  cairo_set_source_surface(context, source.get(), corner.x, corner.y);
  cairo_paint(context);
  // The context must not keep the caller's memory as its source.
  cairo_restore(context);
}

void Canvas::castShadow(const Shadow& shadow) {
  cairo_surface_flush(surface_->surface.get());
  const auto body = pixelsOf(surface_->picture);
  std::vector<float> coverage(body.size());
  std::ranges::transform(body, coverage.begin(),
                         [](std::uint32_t pixel) { return static_cast<float>(pixel >> 24); });
  GaussianBlur::blur(coverage, surface_->picture.width, shadow.blur / 2);
  const PixelBuffer mask = CairoPicture::blank(surface_->picture.width, surface_->picture.height);
  std::ranges::transform(coverage, pixelsOf(mask).begin(), [](float value) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0f, 255.0f))) << 24;
  });

  const auto soft = CairoPicture::surface(mask);
  cairo_t* context = surface_->context.get();
  cairo_save(context);
  cairo_identity_matrix(context);
  cairo_set_operator(context, CAIRO_OPERATOR_DEST_OVER);
  setColor(context, shadow.color);
  cairo_mask_surface(context, soft.get(), shadow.offset.x, shadow.offset.y);
  cairo_restore(context);
}

PixelBufferRef Canvas::take() && {
  cairo_surface_flush(surface_->surface.get());
  if (cairo_status(surface_->context.get()) != CAIRO_STATUS_SUCCESS)
    throw DrawingError(DrawingError::Kind::drawing);
  return std::make_shared<const PixelBuffer>(std::move(surface_->picture));
}

}  // namespace quillant
