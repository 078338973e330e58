#include "Linux/Input/X11ClickEventSource.h"

#include <asio/posix/stream_descriptor.hpp>
#include <optional>
#include <utility>
#include <vector>
#include <xcb/xinput.h>

#include "Core/HostClock.h"
#include "Core/Log.h"
#include "Core/SerialQueue.h"
#include "Linux/Input/X11Time.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

namespace {

/// Raw button events of the root window, read on a queue of its own.
class X11ClickEventSource final : public ClickEventSource {
 public:
  explicit X11ClickEventSource(std::string displayName) : displayName_(std::move(displayName)) {}
  ~X11ClickEventSource() override { X11ClickEventSource::stop(); }

  bool start(Handlers handlers) override {
    return queue_.sync([&] { return open(std::move(handlers)); });
  }
  void stop() override {
    queue_.sync([this] { close(); });
  }

 private:
  // Everything below runs on the queue.

  bool open(Handlers handlers) {
    try {
      connection_ = std::make_unique<X11Connection>(displayName_);
    } catch (const X11Error& error) {
      Log::write("no click events: {}", error.description());
      return false;
    }
    if (!selectButtons()) {
      Log::write("no click events: the display server has no XInput 2.2");
      connection_.reset();
      return false;
    }
    readMapping();
    handlers_ = std::move(handlers);
    descriptor_.emplace(queue_.executor(), xcb_get_file_descriptor(connection_->get()));
    takeEvents();
    return true;
  }

  void close() {
    if (descriptor_) descriptor_->release();
    descriptor_.reset();
    connection_.reset();
  }

  bool selectButtons() {
    if (!connection_->firstEvent(xcb_input_id)) return false;
    extension_ = xcb_get_extension_data(connection_->get(), &xcb_input_id)->major_opcode;
    // From 2.2 on raw events arrive while another client holds a grab.
    const auto version = connection_->wait(xcb_input_xi_query_version_reply,
                                           xcb_input_xi_query_version(connection_->get(), 2, 2));
    if (!version || version->major_version * 100 + version->minor_version < 202) return false;
    struct {
      xcb_input_event_mask_t head{XCB_INPUT_DEVICE_ALL_MASTER, 1};
      std::uint32_t mask =
          XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
    } selection;
    return connection_->succeeded(
        xcb_input_xi_select_events_checked(connection_->get(), connection_->root(), 1, &selection.head));
  }

  /// Raw events tell the physical button: which one is the left one is the user's choice.
  void readMapping() {
    const auto reply =
        connection_->wait(xcb_get_pointer_mapping_reply, xcb_get_pointer_mapping(connection_->get()));
    if (!reply) return;
    const std::uint8_t* map = xcb_get_pointer_mapping_map(reply.get());
    mapping_.assign(map, map + xcb_get_pointer_mapping_map_length(reply.get()));
  }

  void takeEvents() {
    while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_->get())}) take(*event);
    if (!connection_->isAlive()) {
      close();
      handlers_.onLost();
      return;
    }
    descriptor_->async_wait(asio::posix::stream_descriptor::wait_read, [this](std::error_code error) {
      if (!error && descriptor_) takeEvents();
    });
  }

  void take(const xcb_generic_event_t& event) {
    const int type = event.response_type & 0x7f;
    if (type == XCB_MAPPING_NOTIFY) {
      if (reinterpret_cast<const xcb_mapping_notify_event_t&>(event).request == XCB_MAPPING_POINTER)
        readMapping();
    } else if (type == XCB_GE_GENERIC) {
      const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
      if (button.extension == extension_) takeButton(button);
    }
  }

  void takeButton(const xcb_input_raw_button_press_event_t& event) {
    const auto kind =
        event.event_type == XCB_INPUT_RAW_BUTTON_PRESS ? ClickEvent::Kind::down : ClickEvent::Kind::up;
    const std::uint32_t logical =
        event.detail > 0 && event.detail <= mapping_.size() ? mapping_[event.detail - 1] : event.detail;
    if (logical != XCB_BUTTON_INDEX_1 && logical != XCB_BUTTON_INDEX_3) return;
    const auto button = logical == XCB_BUTTON_INDEX_1 ? MouseButton::left : MouseButton::right;
    handlers_.onEvent({button, kind, X11Time::hostTime(event.time, HostClock::now())});
  }

  const std::string displayName_;
  Handlers handlers_;
  std::unique_ptr<X11Connection> connection_;
  std::uint8_t extension_ = 0;  // the number of its requests, which its events carry
  std::vector<std::uint8_t> mapping_;
  std::optional<asio::posix::stream_descriptor> descriptor_;  // the connection's; it never closes it
  SerialQueue queue_{"quillant.input.clicks"};                // last: joined before what runs on it goes
};

}  // namespace

std::unique_ptr<ClickEventSource> makeX11ClickEventSource(std::string displayName) {
  return std::make_unique<X11ClickEventSource>(std::move(displayName));
}

}  // namespace quillant
