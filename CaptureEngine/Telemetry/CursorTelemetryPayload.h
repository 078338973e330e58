#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace quillant {

/// Where the pointer was at one moment of a recording.
struct CursorTelemetrySample {
  std::int64_t x = 0;          ///< region points, 0 at the region's left edge
  std::int64_t y = 0;          ///< region points, 0 at the region's top
  std::int64_t timestamp = 0;  ///< milliseconds from the first video frame, pauses left out
  std::string cursorType = "arrow";

  friend bool operator==(const CursorTelemetrySample&, const CursorTelemetrySample&) = default;
};

/// A press of a mouse button, at the place and time of a sample.
struct CursorTelemetryClick {
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t timestamp = 0;   ///< milliseconds, as for a sample
  std::string button = "left";  ///< "left" or "right"
  std::int64_t clickCount = 1;  ///< 1 for a single click, 2 for a double one, and so on

  friend bool operator==(const CursorTelemetryClick&, const CursorTelemetryClick&) = default;
};

/// The pointer's track beside a recording, the contents of its `.cursor.json`: all in the recorded region's
/// points, origin at its top left, and in the video's time.
struct CursorTelemetryPayload {
  std::int64_t width = 0;  ///< of the region, in points
  std::int64_t height = 0;
  std::vector<CursorTelemetrySample> samples;  ///< in rising time
  std::vector<CursorTelemetryClick> clicks;    ///< in order of recording

  friend bool operator==(const CursorTelemetryPayload&, const CursorTelemetryPayload&) = default;
};

}  // namespace quillant
