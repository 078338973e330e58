#include "Linux/Input/X11WindowFrameProbe.h"

#include "Linux/X11/X11Windows.h"

namespace quillant {

std::optional<Rect> X11WindowFrameProbe::frame(std::uint32_t windowID) {
  return desktop_.ask([&](const X11Connection& x, const X11Layout& layout) -> std::optional<Rect> {
    const auto pixels = X11Windows::frame(x, windowID);
    if (!pixels) return std::nullopt;
    return layout.points(*pixels);
  });
}

}  // namespace quillant
