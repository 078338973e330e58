#pragma once

#include <xcb/xproto.h>

#include "Core/MediaTime.h"

/// The X server's time stamps.
namespace quillant::X11Time {

/// The host-clock time of an event. The server counts the same clock in milliseconds of 32 bits, which start
/// again every 50 days: the stamp stands for the moment nearest to `now`. A server that counts another clock,
/// as one on another machine does, shows in a stamp far from `now`, for which `now` is the better answer.
MediaTime hostTime(xcb_timestamp_t serverTime, MediaTime now);

}  // namespace quillant::X11Time
