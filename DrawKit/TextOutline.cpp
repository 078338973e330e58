#include "DrawKit/TextOutline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <hb.h>
#include <memory>
#include <optional>
#include <pango/pangocairo.h>
#include <utility>

#include "Core/Text.h"
#include "DrawKit/CairoPicture.h"

namespace quillant {

namespace {

struct Release {
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
  const CairoHandle<cairo_font_options_t> options(cairo_font_options_create());
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

/// Glyphs of such a font are pictures and no outlines.
bool hasColors(PangoFont* font) {
  hb_face_t* face = hb_font_get_face(pango_font_get_hb_font(font));
  return std::ranges::any_of(std::array{"CBDT", "sbix", "COLR"}, [&](const char* table) {
    hb_blob_t* const blob = hb_face_reference_table(face, hb_tag_from_string(table, -1));
    const bool isThere = hb_blob_get_length(blob) > 0;
    hb_blob_destroy(blob);
    return isThere;
  });
}

/// What is drawn of a run whose baseline begins at `x`; none if nothing is, or more than can be.
std::optional<TextOutline::Picture> pictureOf(PangoFont* font, PangoGlyphString* glyphs, double x) {
  PangoRectangle ink;
  pango_glyph_string_extents(glyphs, font, &ink, nullptr);
  // The edges of the pictures are smoothed.
  const double left = std::floor(x + pixels(ink.x)) - 1, top = std::floor(pixels(ink.y)) - 1;
  const double right = std::ceil(x + pixels(ink.x + ink.width)) + 1;
  const double bottom = std::ceil(pixels(ink.y + ink.height)) + 1;
  constexpr double longestSide = 32'767;  // of Cairo's pictures
  if (ink.width <= 0 || ink.height <= 0 || right - left > longestSide || bottom - top > longestSide)
    return std::nullopt;
  auto picture = CairoPicture::blank(static_cast<int>(right - left), static_cast<int>(bottom - top));
  const auto surface = CairoPicture::surface(picture);
  const CairoHandle<cairo_t> drawing(cairo_create(surface.get()));
  cairo_move_to(drawing.get(), x - left, -top);
  pango_cairo_show_glyph_string(drawing.get(), font, glyphs);
  cairo_surface_flush(surface.get());
  return TextOutline::Picture{std::make_shared<const PixelBuffer>(std::move(picture)), {left, top}};
}

/// Takes the glyphs for which there is no font out of a run, whose text begins at `start`.
void takeOutUnwritten(PangoGlyphString& glyphs, const char* start, std::string& unwritten) {
  for (int i = 0; i < glyphs.num_glyphs; ++i) {
    if ((glyphs.glyphs[i].glyph & PANGO_GLYPH_UNKNOWN_FLAG) == 0) continue;
    glyphs.glyphs[i].glyph = PANGO_GLYPH_EMPTY;
    const char* character = start + glyphs.log_clusters[i];
    const std::string_view bytes(character,
                                 static_cast<std::size_t>(g_utf8_next_char(character) - character));
    if (unwritten.find(bytes) == std::string::npos) unwritten += bytes;
  }
}

}  // namespace

TextOutline TextOutline::of(std::span<const std::string_view> parts, const Font& font,
                            std::string_view paragraph) {
  const auto context = makeContext(font);
  const Handle<PangoLayout> layout(pango_layout_new(context.get()));
  pango_layout_set_single_paragraph_mode(layout.get(), TRUE);
  pango_layout_set_auto_dir(layout.get(), FALSE);

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
  pango_context_set_base_dir(context.get(), Text::isRightToLeft(paragraph.empty() ? text : paragraph)
                                                ? PANGO_DIRECTION_RTL
                                                : PANGO_DIRECTION_LTR);
  pango_layout_set_attributes(layout.get(), attributes.get());
  pango_layout_set_text(layout.get(), text.data(), static_cast<int>(text.size()));

  const Handle<PangoFontMetrics> metrics(pango_context_get_metrics(context.get(), nullptr, nullptr));
  PangoRectangle extents, ink;
  pango_layout_get_extents(layout.get(), &ink, &extents);
  TextOutline result{.parts = std::vector<Path>(parts.size()),
                     .width = pixels(extents.width),
                     .ascent = pixels(pango_font_metrics_get_ascent(metrics.get())),
                     .descent = pixels(pango_font_metrics_get_descent(metrics.get())),
                     .ink = {pixels(ink.x), pixels(ink.y - pango_layout_get_baseline(layout.get())),
                             pixels(ink.width), pixels(ink.height)}};

  // Without bounds: of glyphs that lie outside of a surface, Cairo leaves out the outline.
  const CairoHandle<cairo_surface_t> surface(cairo_recording_surface_create(CAIRO_CONTENT_ALPHA, nullptr));
  const CairoHandle<cairo_t> drawing(cairo_create(surface.get()));
  const Handle<PangoLayoutIter> iterator(pango_layout_get_iter(layout.get()));
  do {
    const PangoLayoutRun* run = pango_layout_iter_get_run(iterator.get());
    if (run == nullptr) continue;
    takeOutUnwritten(*run->glyphs, text.data() + run->item->offset, result.unwritten);
    PangoFont* runFont = run->item->analysis.font;
    PangoRectangle place;
    pango_layout_iter_get_run_extents(iterator.get(), nullptr, &place);
    const double x = pixels(place.x);
    if (hasColors(runFont)) {
      if (auto picture = pictureOf(runFont, run->glyphs, x)) result.pictures.push_back(std::move(*picture));
      continue;
    }
    cairo_new_path(drawing.get());
    cairo_move_to(drawing.get(), x, 0);
    pango_cairo_glyph_string_path(drawing.get(), runFont, run->glyphs);
    const auto part =
        std::ranges::upper_bound(ends, static_cast<std::size_t>(run->item->offset)) - ends.begin();
    const CairoHandle<cairo_path_t> traced(cairo_copy_path(drawing.get()));
    append(result.parts[std::min(static_cast<std::size_t>(part), parts.size() - 1)], *traced);
  } while (pango_layout_iter_next_run(iterator.get()));
  return result;
}

void TextOutline::drawPictures(Canvas& canvas, Point origin) const {
  for (const auto& [pixels, corner] : pictures)
    canvas.draw(*pixels, {std::round(origin.x + corner.x), std::round(origin.y + corner.y)});
}

}  // namespace quillant
