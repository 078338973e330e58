#pragma once

#include "Linux/X11/X11Connection.h"

namespace quillant::RootPixels {

/// Throws `ScreenError` of kind notRecordable unless the root window's pixels are BGRA. It holds for as
/// long as the server runs.
void requireBGRA(const X11Connection& x);

}  // namespace quillant::RootPixels
