#include "Linux/Input/X11Input.h"

#include <utility>
#include <xcb/xinput.h>

#include "Core/HostClock.h"
#include "Core/Log.h"
#include "Linux/Input/X11Time.h"

namespace quillant {

namespace {

/// A sample is not worth more: its time would no longer be that of the position.
constexpr auto samplePatience = std::chrono::milliseconds(50);

}  // namespace

CursorTrack::Snapshot X11Input::read() {
  if (x_.isAlive()) {
    // A question that the server has not answered is not asked again.
    if (!asked_) asked_ = ask();
    takeAnswer();
    takeEvents();
  }
  return last_;
}

X11Input::Question X11Input::ask() const {
  // In one round trip, so that a window that moves has not moved in between.
  return {xcb_query_pointer(x_.get(), origin_.window), xcb_get_geometry(x_.get(), origin_.window)};
}

void X11Input::takeAnswer() {
  const auto pointer = x_.answerWithin(samplePatience, xcb_query_pointer_reply, asked_->pointer);
  if (!pointer) return;
  const auto geometry = x_.wait(xcb_get_geometry_reply, asked_->geometry);  // it comes with the other
  asked_.reset();
  if (!*pointer || !geometry) return;
  const auto& place = **pointer;
  last_ = {.location = {(place.win_x - origin_.offset.x) / origin_.scale,
                        (place.win_y - origin_.offset.y) / origin_.scale},
           .leftDown = (place.mask & XCB_BUTTON_MASK_1) != 0,
           .rightDown = (place.mask & XCB_BUTTON_MASK_3) != 0};
  if (origin_.window != x_.root())
    last_.liveRegion = Rect{0, 0, geometry->width / origin_.scale, geometry->height / origin_.scale};
}

bool X11Input::start(Handler handler) {
  if (!selectButtons()) {
    Log::write("no click events: the display server has no XInput 2.2");
    return false;
  }
  readMapping();
  handler_ = std::move(handler);
  return true;
}

void X11Input::stop() {
  if (handler_ && x_.isAlive()) takeEvents();
  handler_ = nullptr;
}

bool X11Input::selectButtons() {
  if (!x_.firstEvent(xcb_input_id)) return false;
  extension_ = xcb_get_extension_data(x_.get(), &xcb_input_id)->major_opcode;
  // From 2.2 on raw events arrive while another client holds a grab.
  const auto version = x_.wait(xcb_input_xi_query_version_reply, xcb_input_xi_query_version(x_.get(), 2, 2));
  if (!version || version->major_version * 100 + version->minor_version < 202) return false;
  struct {
    xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
    std::uint32_t mask =
        XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
  } selection;
  return x_.succeeded(xcb_input_xi_select_events_checked(x_.get(), x_.root(), 1, &selection.head));
}

/// Raw events carry the physical button: which one is the left one is the user's choice.
void X11Input::readMapping() {
  const auto reply = x_.wait(xcb_get_pointer_mapping_reply, xcb_get_pointer_mapping(x_.get()));
  if (!reply) return;
  const std::uint8_t* map = xcb_get_pointer_mapping_map(reply.get());
  mapping_.assign(map, map + xcb_get_pointer_mapping_map_length(reply.get()));
}

void X11Input::takeEvents() {
  while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(x_.get())}) take(*event);
}

void X11Input::take(const xcb_generic_event_t& event) {
  const int type = event.response_type & 0x7f;
  if (type == XCB_MAPPING_NOTIFY) {
    if (reinterpret_cast<const xcb_mapping_notify_event_t&>(event).request == XCB_MAPPING_POINTER)
      readMapping();
  } else if (type == XCB_GE_GENERIC && handler_) {
    takeButton(event);
  }
}

void X11Input::takeButton(const xcb_generic_event_t& event) {
  const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
  if (button.extension != extension_) return;
  const auto kind =
      button.event_type == XCB_INPUT_RAW_BUTTON_PRESS ? ClickEvent::Kind::down : ClickEvent::Kind::up;
  const std::uint32_t logical =
      button.detail > 0 && button.detail <= mapping_.size() ? mapping_[button.detail - 1] : button.detail;
  if (logical != XCB_BUTTON_INDEX_1 && logical != XCB_BUTTON_INDEX_3) return;
  handler_({logical == XCB_BUTTON_INDEX_1 ? MouseButton::left : MouseButton::right, kind,
            X11Time::hostTime(button.time, HostClock::now())});
}

}  // namespace quillant
