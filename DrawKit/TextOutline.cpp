#include "DrawKit/TextOutline.h"

#include <algorithm>
#include <cairo/cairo.h>
#include <cstddef>
#include <memory>
#include <pango/pangocairo.h>

namespace quillant {

namespace {

struct Release {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
  void operator()(cairo_path_t* path) const { cairo_path_destroy(path); }
  void operator()(PangoContext* context) const { g_object_unref(context); }
  void operator()(PangoLayout* layout) const { g_object_unref(layout); }
  void operator()(PangoAttrList* attributes) const { pango_attr_list_unref(attributes); }
  void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
  void operator()(PangoFontMetrics* metrics) const { pango_font_metrics_unref(metrics); }
  void operator()(PangoLayoutIter* iterator) const { pango_layout_iter_free(iterator); }
};
template <class Object>
using Handle = std::unique_ptr<Object, Release>;

double pixels(int units) {
  return static_cast<double>(units) / PANGO_SCALE;
}

/// Adds to `path` what is traced in a drawing context.
void append(Path& path, const cairo_path_t& traced) {
  for (int i = 0; i < traced.num_data; i += traced.data[i].header.length) {
    const auto point = [data = traced.data + i](int n) { return Point{data[n].point.x, data[n].point.y}; };
    switch (traced.data[i].header.type) {
      case CAIRO_PATH_MOVE_TO:
        path.moveTo(point(1));
        break;
      case CAIRO_PATH_LINE_TO:
        path.lineTo(point(1));
        break;
      case CAIRO_PATH_CURVE_TO:
        path.curveTo(point(1), point(2), point(3));
        break;
      case CAIRO_PATH_CLOSE_PATH:
        path.close();
        break;
    }
  }
}

Handle<PangoContext> makeContext(const Font& font) {
  Handle<PangoContext> context(pango_font_map_create_context(pango_cairo_font_map_get_default()));
  const Handle<cairo_font_options_t> options(cairo_font_options_create());
  cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context.get(), options.get());
  pango_context_set_round_glyph_positions(context.get(), FALSE);
  const Handle<PangoFontDescription> description(pango_font_description_new());
  pango_font_description_set_family(description.get(), font.family.c_str());
  pango_font_description_set_weight(description.get(), font.isBold ? PANGO_WEIGHT_BOLD : PANGO_WEIGHT_NORMAL);
  pango_font_description_set_absolute_size(description.get(), font.size * PANGO_SCALE);
  pango_context_set_font_description(context.get(), description.get());
  return context;
}

}  // namespace

TextOutline TextOutline::of(std::span<const std::string_view> parts, const Font& font) {
  const auto context = makeContext(font);
  const Handle<PangoLayout> layout(pango_layout_new(context.get()));
  pango_layout_set_single_paragraph_mode(layout.get(), TRUE);

  // Each part is distinguished from its neighbours by an attribute, so that no run of glyphs belongs to two
  // of them.
  std::string text;
  std::vector<std::size_t> ends;
  const Handle<PangoAttrList> attributes(pango_attr_list_new());
  for (const std::string_view part : parts) {
    PangoAttribute* shade = pango_attr_foreground_new(0, 0, static_cast<guint16>(ends.size() % 2));
    shade->start_index = static_cast<guint>(text.size());
    text += part;
    shade->end_index = static_cast<guint>(text.size());
    pango_attr_list_insert(attributes.get(), shade);
    ends.push_back(text.size());
  }
  pango_layout_set_attributes(layout.get(), attributes.get());
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));

  const Handle<PangoFontMetrics> metrics(pango_context_get_metrics(context.get(), nullptr, nullptr));
  PangoRectangle extents;
  pango_layout_get_extents(layout.get(), nullptr, &extents);
  TextOutline result{.parts = std::vector<Path>(parts.size()),
                     .width = pixels(extents.width),
                     .ascent = pixels(pango_font_metrics_get_ascent(metrics.get())),
                     .descent = pixels(pango_font_metrics_get_descent(metrics.get()))};

  // Without bounds: of glyphs that lie outside of a surface, Cairo leaves out the outline.
  const Handle<cairo_surface_t> surface(cairo_recording_surface_create(CAIRO_CONTENT_ALPHA, nullptr));
  const Handle<cairo_t> drawing(cairo_create(surface.get()));
  const Handle<PangoLayoutIter> run(pango_layout_get_iter(layout.get()));
  do {
    const PangoLayoutRun* glyphs = pango_layout_iter_get_run_readonly(run.get());
    if (glyphs == nullptr) continue;
    PangoRectangle place;
    pango_layout_iter_get_run_extents(run.get(), nullptr, &place);
    cairo_new_path(drawing.get());
    cairo_move_to(drawing.get(), pixels(place.x), 0);
    pango_cairo_glyph_string_path(drawing.get(), glyphs->item->analysis.font, glyphs->glyphs);
    const auto part =
        std::ranges::upper_bound(ends, static_cast<std::size_t>(glyphs->item->offset)) - ends.begin();
    const Handle<cairo_path_t> traced(cairo_copy_path(drawing.get()));
    append(result.parts[std::min(static_cast<std::size_t>(part), parts.size() - 1)], *traced);
  } while (pango_layout_iter_next_run(run.get()));
  return result;
}

}  // namespace quillant
