#pragma once

#include <optional>

#include "Linux/Screen/CaptureSource.h"
#include "Linux/Screen/DamageWatch.h"

namespace quillant {

/// One window with all that is inside it, whatever covers it. The server keeps its contents in a pixmap for
/// as long as the connection asks for that. While the window is not shown there is nothing to read; it ends
/// when the window is closed.
class WindowSource : public CaptureSource {
 public:
  WindowSource(const X11Connection& connection, xcb_window_t window);

  const Picture& picture() const override { return picture_; }
  Change handle(const xcb_generic_event_t& event) override;
  std::vector<PixelRect> takeDamage() override { return damage_->take(); }
  ScreenError ended() const override;

 private:
  /// A window gets another pixmap whenever it is shown or resized; the one before stays as it was.
  void findPicture();

  const X11Connection& x_;
  const xcb_window_t window_;
  std::optional<DamageWatch> damage_;
  Picture picture_;
};

}  // namespace quillant
