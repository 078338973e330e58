#include "Linux/Screen/BGRAPixels.h"

#include <fmt/format.h>

#include "CaptureEngine/ScreenService.h"

namespace quillant::BGRAPixels {

namespace {

/// The server draws in many formats; almost every server in use keeps all its windows in this one.
bool isBGRA(const X11Connection& x, std::uint8_t depth, xcb_visualid_t visual) {
  const auto* setup = xcb_get_setup(x.get());
  bool fourBytes = false;
  for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it))
    fourBytes |= it.data->depth == depth && it.data->bits_per_pixel == 32;
  bool redMask = false;
  for (auto allowed = xcb_screen_allowed_depths_iterator(&x.screen()); allowed.rem; xcb_depth_next(&allowed))
    for (auto it = xcb_depth_visuals_iterator(allowed.data); it.rem; xcb_visualtype_next(&it))
      redMask |= it.data->visual_id == visual && it.data->red_mask == 0xff0000;
  return fourBytes && redMask && setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
}

}  // namespace

void requireOfRoot(const X11Connection& x) {
  if (!isBGRA(x, x.screen().root_depth, x.screen().root_visual))
    throw ScreenError(
        ScreenError::Kind::notRecordable,
        "the display server's pixels are not of 8 bits a colour (the screen's depth must be 24)");
}

void requireOfWindow(const X11Connection& x, xcb_window_t window) {
  const auto geometry = x.wait(xcb_get_geometry_reply, xcb_get_geometry(x.get(), window));
  const auto attributes = x.wait(xcb_get_window_attributes_reply, xcb_get_window_attributes(x.get(), window));
  if (!x.isAlive()) throw X11Error(x.whyDead());
  if (!geometry || !attributes || !isBGRA(x, geometry->depth, attributes->visual))
    throw ScreenError(
        ScreenError::Kind::notRecordable,
        fmt::format("window {} has no pixels of 8 bits a colour that could be recorded", window));
}

}  // namespace quillant::BGRAPixels
