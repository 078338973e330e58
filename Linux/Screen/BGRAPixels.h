#pragma once

#include "Linux/X11/X11Connection.h"

/// Whether pixels are of the one format that is recorded: BGRA, four bytes each. It holds for as long as the
/// server, or the window, is there.
namespace quillant::BGRAPixels {

/// Throws `ScreenError` of kind notRecordable unless the root window's pixels are.
void requireOfRoot(const X11Connection& x);
/// The same for a window that is recorded alone. One that is closed meanwhile has none.
void requireOfWindow(const X11Connection& x, xcb_window_t window);

}  // namespace quillant::BGRAPixels
