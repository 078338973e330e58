#pragma once

#include "Linux/X11/X11Connection.h"

/// The X server inside a Wayland session.
namespace quillant::Xwayland {

/// Whether this server is one. Its root window stays black, whatever the desktop shows. Asked of the server
/// itself: the environment tells of the session, not of the server that answers.
bool isServer(const X11Connection& connection);

}  // namespace quillant::Xwayland
