#include "Linux/Screen/DamageWatch.h"

#include <xcb/damage.h>
#include <xcb/xfixes.h>

#include "CaptureEngine/ScreenService.h"

namespace quillant {

DamageWatch::DamageWatch(const X11Connection& connection, xcb_window_t window) : x_(connection) {
  const auto firstEvent = x_.firstEvent(xcb_damage_id);
  if (!firstEvent || !x_.firstEvent(xcb_xfixes_id) ||
      !x_.wait(xcb_damage_query_version_reply, xcb_damage_query_version(x_.get(), 1, 1)) ||
      !x_.wait(xcb_xfixes_query_version_reply, xcb_xfixes_query_version(x_.get(), 2, 0)))
    throw ScreenError(ScreenError::Kind::unavailable,
                      "the display server does not tell what changes (it lacks the DAMAGE extension)");
  firstEvent_ = *firstEvent;
  damage_ = xcb_generate_id(x_.get());
  region_ = xcb_generate_id(x_.get());
  xcb_xfixes_create_region(x_.get(), region_, 0, nullptr);
  if (!x_.succeeded(xcb_damage_create_checked(x_.get(), damage_, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY)))
    throw ScreenError(ScreenError::Kind::unavailable, "the display server refuses to tell what changes");
}

bool DamageWatch::isNotice(const xcb_generic_event_t& event) const {
  return (event.response_type & 0x7f) == firstEvent_ + XCB_DAMAGE_NOTIFY;
}

std::vector<PixelRect> DamageWatch::take() const {
  xcb_damage_subtract(x_.get(), damage_, XCB_NONE, region_);
  const auto reply = x_.wait(xcb_xfixes_fetch_region_reply, xcb_xfixes_fetch_region(x_.get(), region_));
  std::vector<PixelRect> rects;
  if (!reply) return rects;
  const auto* first = xcb_xfixes_fetch_region_rectangles(reply.get());
  const int count = xcb_xfixes_fetch_region_rectangles_length(reply.get());
  rects.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) rects.push_back({first[i].x, first[i].y, first[i].width, first[i].height});
  return rects;
}

}  // namespace quillant
