#pragma once

#include <memory>
#include <string>

#include "CaptureEngine/ScreenService.h"
#include "Linux/X11/X11Connection.h"

/// A recording's hold on an X desktop.
namespace quillant::X11ScreenSession {

/// What can be chosen of the desktop behind `connection`. Throws ScreenError.
ShareableContent content(X11Connection& connection);

/// Two connections serve a session: this one, for the first look, the pointer and the clicks, and one of the
/// stream's own, which waits for pixels without holding the pointer up. Blocking; throws CaptureError or
/// ScreenError, and X11Error if the display server cannot be reached.
std::unique_ptr<ScreenSession> open(const std::string& displayName, X11Connection::Duration patience,
                                    const CaptureOptions& options);

}  // namespace quillant::X11ScreenSession
