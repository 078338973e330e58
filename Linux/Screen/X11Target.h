#pragma once

#include "Core/PixelBuffer.h"
#include "Linux/X11/X11Layout.h"

namespace quillant {

/// What of an X desktop a session records, frozen when the session was opened.
struct X11Target {
  X11Monitor monitor;  ///< The display that is recorded; it does not count for a window.
  PixelRect source;    ///< That display or an area of it, in pixels of the root window; not of a window.
  xcb_window_t window = XCB_WINDOW_NONE;  ///< Set: this window alone, wherever it is.
};

}  // namespace quillant
