#include "Linux/Screen/WindowSource.h"

#include <fmt/format.h>
#include <xcb/composite.h>

namespace quillant {

WindowSource::WindowSource(const X11Connection& connection, xcb_window_t window)
    : x_(connection), window_(window) {
  if (!x_.firstEvent(xcb_composite_id) ||
      !x_.wait(xcb_composite_query_version_reply, xcb_composite_query_version(x_.get(), 0, 2)))
    throw ScreenError(ScreenError::Kind::unavailable,
                      "the display server cannot record a single window (it lacks the Composite extension)");
  // Subscribes to changes before the first query, so that none is missed in between. A window that is shown
  // again without an event of its own, as its frame was, says so by its visibility.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_VISIBILITY_CHANGE;
  xcb_change_window_attributes(x_.get(), window_, XCB_CW_EVENT_MASK, &events);
  const auto geometry = x_.wait(xcb_get_geometry_reply, xcb_get_geometry(x_.get(), window_));
  if (!geometry)
    throw ScreenError(ScreenError::Kind::windowClosed, fmt::format("window {} is no longer there", window_));
  // The size counts until the window is shown.
  picture_.width = geometry->width;
  picture_.height = geometry->height;
  if (!x_.succeeded(
          xcb_composite_redirect_window_checked(x_.get(), window_, XCB_COMPOSITE_REDIRECT_AUTOMATIC)))
    throw ScreenError(ScreenError::Kind::unavailable,
                      fmt::format("the display server refuses to record window {} alone", window_));
  damage_.emplace(x_, window_);
  findPicture();
}

void WindowSource::findPicture() {
  if (picture_.drawable != XCB_NONE) xcb_free_pixmap(x_.get(), picture_.drawable);
  picture_.drawable = XCB_NONE;
  const xcb_pixmap_t pixmap = xcb_generate_id(x_.get());
  // Refused while the window is not shown. Its size is the pixmap's own: the window's may be another by now.
  if (!x_.succeeded(xcb_composite_name_window_pixmap_checked(x_.get(), window_, pixmap))) return;
  const auto whole = x_.wait(xcb_get_geometry_reply, xcb_get_geometry(x_.get(), pixmap));
  const auto window = x_.wait(xcb_get_geometry_reply, xcb_get_geometry(x_.get(), window_));
  if (!whole || !window) return;
  const int border = window->border_width;
  picture_ = {.drawable = pixmap,
              .offsetX = border,
              .offsetY = border,
              .width = whole->width - 2 * border,
              .height = whole->height - 2 * border};
  picture_.readable = {0, 0, picture_.width, picture_.height};
}

CaptureSource::Change WindowSource::handle(const xcb_generic_event_t& event) {
  if (damage_->isNotice(event)) return Change::damaged;
  switch (event.response_type & 0x7f) {
    case XCB_DESTROY_NOTIFY:
      throw ended();
    case XCB_CONFIGURE_NOTIFY: {
      const auto& configured = reinterpret_cast<const xcb_configure_notify_event_t&>(event);
      if (configured.width == picture_.width && configured.height == picture_.height &&
          configured.border_width == picture_.offsetX)
        return Change::none;
      break;
    }
    case XCB_MAP_NOTIFY:
    case XCB_VISIBILITY_NOTIFY:
      break;
    default:
      return Change::none;
  }
  findPicture();
  return picture_.drawable == XCB_NONE ? Change::none : Change::replaced;
}

ScreenError WindowSource::ended() const {
  return {ScreenError::Kind::windowClosed, "the window was closed during the recording"};
}

}  // namespace quillant
