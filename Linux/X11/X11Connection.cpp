#include "Linux/X11/X11Connection.h"

#include <fmt/format.h>

namespace quillant {

namespace {

std::string reason(int connectionError, const std::string& displayName) {
  const char* variable = std::getenv("DISPLAY");  // NOLINT(concurrency-mt-unsafe): nothing sets it.
  if (displayName.empty() && (!variable || !*variable))
    return "there is no display server: DISPLAY is not set";
  const std::string name = displayName.empty() ? variable : displayName;
  switch (connectionError) {
    case XCB_CONN_CLOSED_PARSE_ERR:
      return fmt::format("'{}' is not the name of a display (see DISPLAY)", name);
    case XCB_CONN_CLOSED_INVALID_SCREEN:
      return fmt::format("the display server has no screen '{}' (see DISPLAY)", name);
    default:
      return fmt::format("the display server '{}' cannot be reached or refuses this user", name);
  }
}

}  // namespace

X11Connection::X11Connection(const std::string& displayName) {
  int screenNumber = 0;
  connection_ = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
  if (const int error = xcb_connection_has_error(connection_)) {
    xcb_disconnect(connection_);
    throw X11Error(reason(error, displayName));
  }
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_));
  for (; screenNumber > 0 && screens.rem > 1; --screenNumber) xcb_screen_next(&screens);
  screen_ = screens.data;
}

X11Connection::~X11Connection() {
  xcb_disconnect(connection_);
}

bool X11Connection::succeeded(xcb_void_cookie_t cookie) const {
  const X11Reply<xcb_generic_error_t> error(xcb_request_check(connection_, cookie));
  return !error && isAlive();
}

std::optional<std::uint8_t> X11Connection::firstEvent(xcb_extension_t& extension) const {
  const auto* data = xcb_get_extension_data(connection_, &extension);
  if (!data || !data->present) return std::nullopt;
  return data->first_event;
}

xcb_atom_t X11Connection::atom(std::string_view name) {
  const std::string key(name);
  if (const auto found = atoms_.find(key); found != atoms_.end()) return found->second;
  const auto reply =
      wait(xcb_intern_atom_reply,
           xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()));
  if (!reply) return XCB_ATOM_NONE;
  return atoms_.emplace(key, reply->atom).first->second;
}

std::string X11Connection::property(xcb_window_t window, xcb_atom_t property) const {
  constexpr std::uint32_t limit = (1 << 20) / 4;  // counted in units of four bytes
  const auto reply = wait(xcb_get_property_reply, xcb_get_property(connection_, 0, window, property,
                                                                   XCB_GET_PROPERTY_TYPE_ANY, 0, limit));
  if (!reply) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

}  // namespace quillant
