#pragma once

namespace quillant {

/// How the finished canvas of one frame is magnified.
struct TimelineZoomEffect {
  double scale = 1;     ///< 1 or more.
  double focusX = 0.5;  ///< Fractions of the canvas, origin top left.
  double focusY = 0.5;

  friend bool operator==(const TimelineZoomEffect&, const TimelineZoomEffect&) = default;
};

}  // namespace quillant
