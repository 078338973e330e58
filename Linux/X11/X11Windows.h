#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Core/Geometry.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

struct X11Window {
  xcb_window_t id = XCB_WINDOW_NONE;
  std::string title;
  Rect frame;               ///< The client area, without border: pixels of the root window.
  bool isVisible = false;   ///< False when iconified or on another desktop; it may still be covered.
  std::string application;  ///< The class that its program gives to its windows: "Firefox".
  int layer = 0;            ///< 0: an ordinary window. 1: a panel, a menu, a note. -1: the desktop.

  friend bool operator==(const X11Window&, const X11Window&) = default;
};

/// The windows of the programs that run. Blocking.
namespace X11Windows {

/// Those that the window manager looks after, the oldest first; without one, the visible children of the
/// root.
std::vector<X11Window> list(X11Connection& connection);

/// Where a window is; nothing if there is none with this id (any more).
std::optional<Rect> frame(const X11Connection& connection, xcb_window_t window);

}  // namespace X11Windows
}  // namespace quillant
