#pragma once

#include <cstdint>
#include <optional>

#include "Core/Geometry.h"

namespace quillant {

/// Tells where a window is now.
class WindowFrameProbe {
 public:
  virtual ~WindowFrameProbe() = default;
  /// The client area in global points, origin at the top left of the primary display; nothing when there is
  /// no such window (any more). Safe on any thread, and quick enough to be asked for every sample.
  virtual std::optional<Rect> frame(std::uint32_t windowID) = 0;
};

}  // namespace quillant
