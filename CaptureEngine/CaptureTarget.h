#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "CaptureEngine/CaptureOptions.h"
#include "CaptureEngine/ScreenService.h"
#include "Core/Geometry.h"

namespace quillant {

/// What of the desktop a session records, and how large its picture is, on a platform that has global
/// coordinates and lets a program choose.
struct CaptureTarget {
  std::uint32_t displayID = 0;
  std::optional<WindowInfo> window;  ///< As it was at the start.
  std::optional<Rect> sourceRect;    ///< Points, origin at the display's top left; absent: all of the source.
  Rect telemetryRegion;              ///< What the picture shows: global points, origin at the top left.
  int width = 0;                     ///< Pixels of the recorded picture, even.
  int height = 0;

  RecordedSource source() const { return {width, height, {telemetryRegion.width, telemetryRegion.height}}; }

  /// Finds what `options` ask for. Throws `CaptureError`.
  static CaptureTarget resolve(const CaptureOptions& options, const ShareableContent& content);

  friend bool operator==(const CaptureTarget&, const CaptureTarget&) = default;
};

}  // namespace quillant
