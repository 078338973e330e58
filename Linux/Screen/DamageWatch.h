#pragma once

#include <vector>

#include "Core/PixelBuffer.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// Hears when something is drawn in a window or in those inside it, and where. The server collects until it
/// is asked, and says only once that there is something to ask for.
class DamageWatch {
 public:
  /// Throws ScreenError of kind unavailable.
  DamageWatch(const X11Connection& connection, xcb_window_t window);

  bool isNotice(const xcb_generic_event_t& event) const;
  /// What was drawn since the last call, in the window's coordinates. Empty if the server has gone away.
  std::vector<PixelRect> take() const;

 private:
  const X11Connection& x_;
  std::uint32_t damage_ = 0;
  std::uint32_t region_ = 0;
  std::uint8_t firstEvent_ = 0;
};

}  // namespace quillant
