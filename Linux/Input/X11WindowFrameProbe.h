#pragma once

#include <string>

#include "CaptureEngine/WindowFrameProbe.h"
#include "Linux/X11/X11Desktop.h"

namespace quillant {

/// Where an X desktop's windows are.
class X11WindowFrameProbe final : public WindowFrameProbe {
 public:
  /// `displayName` is of the form ":0"; empty means what DISPLAY says.
  explicit X11WindowFrameProbe(std::string displayName = {}) : desktop_(std::move(displayName)) {}

  std::optional<Rect> frame(std::uint32_t windowID) override;

 private:
  X11Desktop desktop_;
};

}  // namespace quillant
