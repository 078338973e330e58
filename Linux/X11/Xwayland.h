#pragma once

#include "Linux/X11/X11Connection.h"

/// The X server inside a Wayland session.
namespace quillant::Xwayland {

/// Whether this server is one. Its root window stays black, whatever the desktop shows. Detected from the
/// server itself: the environment describes the session, not the server that answers.
bool isServer(const X11Connection& connection);

/// What the user is told.
inline constexpr const char* whyNotRecordable =
    "this is a Wayland session, whose screen cannot be recorded yet — log in to an X11 (Xorg) session to "
    "record it";

}  // namespace quillant::Xwayland
