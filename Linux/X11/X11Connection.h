#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <xcb/xcb.h>

#include "Core/Error.h"

namespace quillant {

/// The X server cannot be reached; the description says what to look at.
class X11Error : public Error {
 public:
  explicit X11Error(std::string description) : Error(std::move(description)) {}
};

struct X11Free {
  void operator()(void* memory) const { std::free(memory); }
};
/// What the server answered, or an event; null stands for an error.
template <class T>
using X11Reply = std::unique_ptr<T, X11Free>;

/// One connection to an X server, and its default screen. XCB itself may be called from any thread; the cache
/// of atoms belongs to one thread at a time.
class X11Connection {
 public:
  /// `displayName` is of the form ":0"; empty means what DISPLAY says. Blocks; throws X11Error.
  explicit X11Connection(const std::string& displayName = {});
  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  xcb_connection_t* get() const { return connection_; }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  /// False once the server has gone away; it never comes back.
  bool isAlive() const { return xcb_connection_has_error(connection_) == 0; }

  /// Waits for the answer to a request: `wait(xcb_get_geometry_reply, xcb_get_geometry(x.get(), window))`.
  /// The wait ends with null when the server refuses or goes away.
  template <class Reply, class Cookie>
  X11Reply<Reply> wait(Reply* (*reply)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                       Cookie cookie) const {
    return X11Reply<Reply>(reply(connection_, cookie, nullptr));
  }
  /// Waits until a request made by a function `xcb_…_checked` has been carried out.
  bool succeeded(xcb_void_cookie_t cookie) const;

  /// The number of an extension's first event; absent if the server has no such extension. The version still
  /// has to be asked for before the extension's requests are used.
  std::optional<std::uint8_t> firstEvent(xcb_extension_t& extension) const;

  xcb_atom_t atom(std::string_view name);
  /// The bytes of a window's property, of whatever type; empty if there is none. At most a megabyte.
  std::string property(xcb_window_t window, xcb_atom_t property) const;

 private:
  xcb_connection_t* connection_;
  const xcb_screen_t* screen_ = nullptr;
  std::unordered_map<std::string, xcb_atom_t> atoms_;
};

}  // namespace quillant
