#pragma once

#include <cstdint>
#include <optional>

#include "Core/Geometry.h"
#include "Linux/Screen/CaptureSource.h"
#include "Linux/Screen/DamageWatch.h"
#include "Linux/X11/X11Layout.h"

namespace quillant {

/// A display, or an area of it. It ends when its display moves, changes size or is unplugged.
class DisplaySource : public CaptureSource {
 public:
  /// `area` is in points from the display's top left; what of it lies beyond the display is black.
  DisplaySource(const X11Connection& connection, std::uint32_t displayID, const std::optional<Rect>& area);

  const Picture& picture() const override { return picture_; }
  Change handle(const xcb_generic_event_t& event) override;
  std::vector<PixelRect> takeDamage() override;
  ScreenError ended() const override;

 private:
  const X11Connection& x_;
  X11Monitor monitor_;
  std::optional<std::uint8_t> randrFirstEvent_;
  DamageWatch damage_;
  Picture picture_;
};

}  // namespace quillant
