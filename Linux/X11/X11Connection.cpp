#include "Linux/X11/X11Connection.h"

#include <algorithm>
#include <fmt/format.h>
#include <future>
#include <poll.h>
#include <thread>
#include <xcb/xcbext.h>

namespace quillant {

namespace {

std::string reason(int connectionError, const std::string& displayName) {
  const char* variable = std::getenv("DISPLAY");  // NOLINT(concurrency-mt-unsafe): nothing sets it.
  if (displayName.empty() && (!variable || !*variable))
    return "there is no display server: DISPLAY is not set";
  const std::string name = displayName.empty() ? variable : displayName;
  switch (connectionError) {
    case 0:
      return fmt::format("the display server '{}' does not answer", name);
    case XCB_CONN_CLOSED_PARSE_ERR:
      return fmt::format("'{}' is not the name of a display (see DISPLAY)", name);
    case XCB_CONN_CLOSED_INVALID_SCREEN:
      return fmt::format("the display server has no screen '{}' (see DISPLAY)", name);
    default:
      return fmt::format("the display server '{}' cannot be reached or refuses this user", name);
  }
}

struct Attempt {
  std::shared_ptr<xcb_connection_t> connection;
  int screenNumber = 0;
};

/// Absent if the server does not answer in time. XCB has no limit of its own here: the thread that it holds
/// up is left behind, and ends when the server does something.
std::optional<Attempt> connectWithin(X11Connection::Duration limit, const std::string& displayName) {
  const auto made = std::make_shared<std::promise<Attempt>>();
  auto attempt = made->get_future();
  std::thread([made, displayName] {
    int screenNumber = 0;
    auto* connection = xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
    made->set_value({{connection, xcb_disconnect}, screenNumber});
  }).detach();
  if (attempt.wait_for(limit) != std::future_status::ready) return std::nullopt;
  return attempt.get();
}

}  // namespace

X11Connection::X11Connection(const std::string& displayName, Duration patience) : patience_(patience) {
  auto attempt = connectWithin(patience, displayName);
  if (!attempt) throw X11Error(reason(0, displayName));
  connection_ = std::move(attempt->connection);
  if (const int error = xcb_connection_has_error(get())) throw X11Error(reason(error, displayName));
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(get()));
  for (int number = attempt->screenNumber; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  screen_ = screens.data;
}

const char* X11Connection::whyDead() const {
  return isHung_ ? "the display server does not answer" : "the display server has gone away";
}

bool X11Connection::readAnswer(unsigned sequence, Duration limit, void*& answer) const {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + limit;
  xcb_flush(get());
  while (!isHung_) {
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(get(), sequence, &answer, &error) != 0) {
      std::free(error);
      return true;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd readable{xcb_get_file_descriptor(get()), POLLIN, 0};
    ::poll(&readable, 1, static_cast<int>(left.count()));
  }
  return true;  // with no answer: none will come
}

void X11Connection::synchronize() const {
  wait(xcb_get_input_focus_reply, xcb_get_input_focus(get()));
}

bool X11Connection::succeeded(xcb_void_cookie_t cookie) const {
  synchronize();  // so that the check has its answer already, which has no limit of its own
  if (!isAlive()) return false;
  const X11Reply<xcb_generic_error_t> error(xcb_request_check(get(), cookie));
  return !error && isAlive();
}

std::optional<std::uint8_t> X11Connection::firstEvent(xcb_extension_t& extension) const {
  xcb_prefetch_extension_data(get(), &extension);
  synchronize();
  if (!isAlive()) return std::nullopt;
  const auto* data = xcb_get_extension_data(get(), &extension);
  if (!data || !data->present) return std::nullopt;
  return data->first_event;
}

xcb_atom_t X11Connection::atom(std::string_view name) {
  const std::string key(name);
  if (const auto found = atoms_.find(key); found != atoms_.end()) return found->second;
  const auto reply = wait(xcb_intern_atom_reply,
                          xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.data()));
  if (!reply) return XCB_ATOM_NONE;
  return atoms_.emplace(key, reply->atom).first->second;
}

std::string X11Connection::property(xcb_window_t window, xcb_atom_t property) const {
  constexpr std::uint32_t limit = (1 << 20) / 4;  // counted in units of four bytes
  const auto reply = wait(xcb_get_property_reply,
                          xcb_get_property(get(), 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, limit));
  if (!reply) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

}  // namespace quillant
