#pragma once

#include <string>

#include "CaptureEngine/CursorTrack.h"
#include "Linux/X11/X11Desktop.h"

namespace quillant {

/// The pointer of an X desktop.
class X11Pointer {
 public:
  /// `displayName` is of the form ":0"; empty means what DISPLAY says.
  explicit X11Pointer(std::string displayName = {}) : desktop_(std::move(displayName)) {}

  /// At (0, 0) with no button down while there is no server. Any thread.
  CursorTrack::Snapshot read();

 private:
  X11Desktop desktop_;
};

}  // namespace quillant
