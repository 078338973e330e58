#pragma once

#include <cstdint>
#include <optional>

#include "Linux/Screen/CaptureSource.h"
#include "Linux/Screen/DamageWatch.h"
#include "Linux/Screen/X11Target.h"

namespace quillant {

/// A display, or an area of it. It ends when its display moves, changes size or is unplugged.
class DisplaySource : public CaptureSource {
 public:
  /// What of the target's source lies beyond its display is black. Throws ScreenError.
  DisplaySource(const X11Connection& connection, const X11Target& target);

  const Picture& picture() const override { return picture_; }
  Change handle(const xcb_generic_event_t& event) override;
  std::vector<PixelRect> takeDamage() override;
  ScreenError ended() const override;

 private:
  /// Throws unless the display is where it was when the target was frozen.
  void checkLayout() const;

  const X11Connection& x_;
  const X11Monitor monitor_;
  std::optional<std::uint8_t> randrFirstEvent_;
  DamageWatch damage_;
  Picture picture_;
};

}  // namespace quillant
