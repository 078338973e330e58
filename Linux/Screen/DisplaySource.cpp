#include "Linux/Screen/DisplaySource.h"

#include <cmath>
#include <fmt/format.h>
#include <xcb/randr.h>

#include "Core/PixelRects.h"

namespace quillant {

DisplaySource::DisplaySource(const X11Connection& connection, const X11Target& target)
    : x_(connection),
      monitor_(target.monitor),
      randrFirstEvent_(connection.firstEvent(xcb_randr_id)),
      damage_(connection, connection.root()) {
  // Subscribes to changes before the layout is queried, so that none is missed in between.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(x_.get(), x_.root(), XCB_CW_EVENT_MASK, &events);
  if (randrFirstEvent_)
    xcb_randr_select_input(x_.get(), x_.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  checkLayout();

  const PixelRect& source = target.source;
  const auto whole = [](double value) { return static_cast<int>(std::lround(value)); };
  const PixelRect onDisplay =
      PixelRects::intersection(source, {whole(monitor_.frame.x), whole(monitor_.frame.y),
                                        whole(monitor_.frame.width), whole(monitor_.frame.height)});
  picture_ = {.drawable = x_.root(),
              .offsetX = source.x,
              .offsetY = source.y,
              .width = source.width,
              .height = source.height,
              .readable = PixelRects::moved(onDisplay, -source.x, -source.y)};
}

void DisplaySource::checkLayout() const {
  const X11Layout layout = X11Layout::read(x_);
  const auto* monitor = layout.find(monitor_.id);
  if (x_.isAlive() && (!monitor || monitor->frame != monitor_.frame)) throw ended();
}

CaptureSource::Change DisplaySource::handle(const xcb_generic_event_t& event) {
  if (damage_.isNotice(event)) return Change::damaged;
  const int type = event.response_type & 0x7f;
  const bool ofLayout = type == XCB_CONFIGURE_NOTIFY ||
                        (randrFirstEvent_ && (type == *randrFirstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                                              type == *randrFirstEvent_ + XCB_RANDR_NOTIFY));
  if (ofLayout) checkLayout();
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
