#include "Linux/Input/X11Pointer.h"

#include <optional>

namespace quillant {

CursorTrack::Snapshot X11Pointer::read() {
  const auto query = [](const X11Connection& x,
                        const X11Layout& layout) -> std::optional<CursorTrack::Snapshot> {
    const auto pointer = x.wait(xcb_query_pointer_reply, xcb_query_pointer(x.get(), x.root()));
    if (!pointer) return std::nullopt;
    return CursorTrack::Snapshot{.location = layout.points(Point{static_cast<double>(pointer->root_x),
                                                                 static_cast<double>(pointer->root_y)}),
                                 .leftDown = (pointer->mask & XCB_BUTTON_MASK_1) != 0,
                                 .rightDown = (pointer->mask & XCB_BUTTON_MASK_3) != 0};
  };
  return desktop_.ask(query).value_or(CursorTrack::Snapshot{});
}

}  // namespace quillant
