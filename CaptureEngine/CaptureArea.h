#pragma once

namespace quillant {

/// An area drawn on the desktop: global points, origin at the bottom left of the primary display, y upwards;
/// `x` and `y` are the area's left and bottom.
struct CaptureArea {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  friend bool operator==(const CaptureArea&, const CaptureArea&) = default;
};

}  // namespace quillant
