#pragma once

// Internal to this folder's sources.

#include <cairo/cairo.h>
#include <memory>

#include "Core/PixelBuffer.h"

namespace quillant {

struct CairoRelease {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
  void operator()(cairo_path_t* path) const { cairo_path_destroy(path); }
};
template <class Object>
using CairoHandle = std::unique_ptr<Object, CairoRelease>;

/// Pictures that Cairo draws into: premultiplied BGRA without gaps between the rows.
namespace CairoPicture {

/// Transparent.
PixelBuffer blank(int width, int height);
/// Cairo's own view of a picture's memory: the layout is the same, so that nothing is copied. It does not
/// keep the memory alive.
CairoHandle<cairo_surface_t> surface(const PixelBuffer& picture);

}  // namespace CairoPicture
}  // namespace quillant
