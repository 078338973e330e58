#pragma once

#include <atomic>
#include <chrono>
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

/// The X server cannot be reached, or does not answer; the description says what to look at.
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

/// One connection to an X server, and its default screen. No call waits longer than the connection's
/// patience: a server that has not answered by then counts as hung, and the connection as dead. Used by one
/// thread at a time; what XCB itself does for several threads, such as ending a wait by a shutdown of the
/// socket, it does here too.
class X11Connection {
 public:
  using Duration = std::chrono::steady_clock::duration;
  /// Longer than any pause of a server that goes on afterwards.
  static constexpr Duration defaultPatience = std::chrono::seconds(10);

  /// `displayName` is of the form ":0"; empty means what DISPLAY says. Throws X11Error.
  explicit X11Connection(const std::string& displayName = {}, Duration patience = defaultPatience);
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  xcb_connection_t* get() const { return connection_.get(); }
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  /// False once the server has gone away or has not answered; it never becomes true again.
  bool isAlive() const { return !isHung_ && xcb_connection_has_error(get()) == 0; }
  /// Why it is not alive, in words for the user.
  const char* whyDead() const;

  /// Waits for the answer to a request: `wait(xcb_get_geometry_reply, xcb_get_geometry(x.get(), window))`.
  /// The wait ends with null when the server refuses, goes away, or hangs.
  template <class Reply, class Cookie>
  X11Reply<Reply> wait(Reply* (*reply)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                       Cookie cookie) const {
    auto answer = answerWithin(patience_, reply, cookie);
    if (!answer) isHung_ = true;
    return answer ? std::move(*answer) : nullptr;
  }
  /// The same for at most `limit`. Absent: there is no answer yet, and it may be asked for again.
  template <class Reply, class Cookie>
  std::optional<X11Reply<Reply>> answerWithin(Duration limit,
                                              Reply* (*)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                                              Cookie cookie) const {
    void* answer = nullptr;
    if (!readAnswer(cookie.sequence, limit, answer)) return std::nullopt;
    return X11Reply<Reply>(static_cast<Reply*>(answer));
  }
  /// Waits until a request made by a function `xcb_…_checked` has been carried out.
  bool succeeded(xcb_void_cookie_t cookie) const;
  /// Waits until the server has carried out all that was asked of it; one that hangs is found out.
  void synchronize() const;

  /// The number of an extension's first event; absent if the server has no such extension. The version still
  /// has to be asked for before the extension's requests are used.
  std::optional<std::uint8_t> firstEvent(xcb_extension_t& extension) const;

  xcb_atom_t atom(std::string_view name);
  /// The bytes of a window's property, of whatever type; empty if there is none. At most a megabyte.
  std::string property(xcb_window_t window, xcb_atom_t property) const;

 private:
  bool readAnswer(unsigned sequence, Duration limit, void*& answer) const;

  std::shared_ptr<xcb_connection_t> connection_;
  const Duration patience_;
  const xcb_screen_t* screen_ = nullptr;
  mutable std::atomic<bool> isHung_ = false;
  std::unordered_map<std::string, xcb_atom_t> atoms_;
};

}  // namespace quillant
