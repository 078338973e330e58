#include "Linux/Screen/RootPixels.h"

#include "CaptureEngine/ScreenService.h"

namespace quillant::RootPixels {

/// The server draws in many formats; almost every server in use keeps its root in this one.
void requireBGRA(const X11Connection& x) {
  const auto* setup = xcb_get_setup(x.get());
  bool fourBytes = false;
  for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it))
    fourBytes |= it.data->depth == x.screen().root_depth && it.data->bits_per_pixel == 32;
  bool redMask = false;
  for (auto depth = xcb_screen_allowed_depths_iterator(&x.screen()); depth.rem; xcb_depth_next(&depth))
    for (auto it = xcb_depth_visuals_iterator(depth.data); it.rem; xcb_visualtype_next(&it))
      redMask |= it.data->visual_id == x.screen().root_visual && it.data->red_mask == 0xff0000;
  if (!fourBytes || !redMask || setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
    throw ScreenError(
        ScreenError::Kind::notRecordable,
        "the display server's pixels are not of 8 bits a colour (the screen's depth must be 24)");
}

}  // namespace quillant::RootPixels
