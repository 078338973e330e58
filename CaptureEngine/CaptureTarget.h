#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/ScreenService.h"
#include "CaptureEngine/WindowFrameProbe.h"
#include "Core/Geometry.h"

namespace quillant {

/// What of the desktop a session records, and how large its picture is.
struct CaptureTarget {
  std::uint32_t displayID = 0;
  std::optional<WindowInfo> window;  ///< As it was at the start.
  std::optional<Rect> sourceRect;    ///< Points, origin at the display's top left; absent: all of the source.
  Rect telemetryRegion;              ///< What the picture shows: global points, origin at the top left.
  int width = 0;                     ///< Pixels of the recorded picture, even.
  int height = 0;

  /// Finds what `options` ask for. `windowFrames` may be null. Throws `CaptureError`.
  static CaptureTarget resolve(const CaptureOptions& options, const ShareableContent& content,
                               WindowFrameProbe* windowFrames);

  friend bool operator==(const CaptureTarget&, const CaptureTarget&) = default;
};

}  // namespace quillant
