#include "Linux/Screen/DisplaySource.h"

#include <cmath>
#include <fmt/format.h>
#include <xcb/randr.h>

#include "Core/PixelRects.h"

namespace quillant {

namespace {

PixelRect wholePixels(const Rect& rect) {
  return {static_cast<int>(std::lround(rect.x)), static_cast<int>(std::lround(rect.y)),
          static_cast<int>(std::lround(rect.width)), static_cast<int>(std::lround(rect.height))};
}

X11Monitor monitorWithID(const X11Layout& layout, std::uint32_t id) {
  if (const auto* monitor = layout.find(id)) return *monitor;
  throw ScreenError(ScreenError::Kind::displayChanged, fmt::format("display {} is no longer connected", id));
}

}  // namespace

DisplaySource::DisplaySource(const X11Connection& connection, std::uint32_t displayID,
                             const std::optional<Rect>& area)
    : x_(connection),
      randrFirstEvent_(connection.firstEvent(xcb_randr_id)),
      damage_(connection, connection.root()) {
  // Told of changes before the layout is read, so that none falls in between.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(x_.get(), x_.root(), XCB_CW_EVENT_MASK, &events);
  if (randrFirstEvent_)
    xcb_randr_select_input(x_.get(), x_.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  const X11Layout layout = X11Layout::read(x_);
  monitor_ = monitorWithID(layout, displayID);

  const PixelRect display = wholePixels(monitor_.frame);
  PixelRect source{0, 0, display.width, display.height};
  if (area)
    source = wholePixels({area->x * layout.scale, area->y * layout.scale, area->width * layout.scale,
                          area->height * layout.scale});
  const PixelRect onDisplay = PixelRects::intersection(source, {0, 0, display.width, display.height});
  picture_ = {.drawable = x_.root(),
              .offsetX = display.x + source.x,
              .offsetY = display.y + source.y,
              .width = source.width,
              .height = source.height,
              .readable = PixelRects::moved(onDisplay, -source.x, -source.y)};
}

CaptureSource::Change DisplaySource::handle(const xcb_generic_event_t& event) {
  if (damage_.isNotice(event)) return Change::damaged;
  const int type = event.response_type & 0x7f;
  const bool ofLayout = type == XCB_CONFIGURE_NOTIFY ||
                        (randrFirstEvent_ && (type == *randrFirstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                                              type == *randrFirstEvent_ + XCB_RANDR_NOTIFY));
  if (!ofLayout) return Change::none;
  const X11Layout layout = X11Layout::read(x_);
  const auto* monitor = layout.find(monitor_.id);
  if (x_.isAlive() && (!monitor || monitor->frame != monitor_.frame)) throw ended();
  return Change::none;
}

std::vector<PixelRect> DisplaySource::takeDamage() {
  auto rects = damage_.take();
  for (auto& rect : rects) rect = PixelRects::moved(rect, -picture_.offsetX, -picture_.offsetY);
  return rects;
}

ScreenError DisplaySource::ended() const {
  return {ScreenError::Kind::displayChanged,
          fmt::format("the display {} was changed or unplugged during the recording", monitor_.name)};
}

}  // namespace quillant
