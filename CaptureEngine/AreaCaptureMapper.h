#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "CaptureEngine/CaptureArea.h"
#include "CaptureEngine/CaptureResolution.h"
#include "CaptureEngine/ScreenService.h"
#include "Core/Geometry.h"

namespace quillant {

struct AreaCaptureGeometry {
  Rect sourceRect;       ///< What the stream is to take: points, origin at the display's top left.
  Rect telemetryRegion;  ///< The same in global points, origin at the top left of the primary display.
  int outputWidth = 0;   ///< pixels, even
  int outputHeight = 0;

  friend bool operator==(const AreaCaptureGeometry&, const AreaCaptureGeometry&) = default;
};

/// From an area or a window on the desktop to the display under it.
namespace AreaCaptureMapper {

/// The area, shrunk to whole even pixels and never stretched, as a part of one of the displays; nothing if no
/// display has that id. The area keeps its lower left corner.
std::optional<AreaCaptureGeometry> geometry(const CaptureArea& area, std::uint32_t displayID,
                                            CaptureResolution resolution,
                                            const std::vector<DisplayInfo>& displays);

/// What was drawn on a display, in points from its top left, as an area of the desktop; nothing if no display
/// has that id.
std::optional<CaptureArea> area(const Rect& drawn, std::uint32_t displayID,
                                const std::vector<DisplayInfo>& displays);

/// The scale of the display under the middle of a window, else of the main one; 2 if there is none. The frame
/// is in global points, origin at the top left of the primary display. A middle on the seam between two
/// displays is on the right or the upper one.
double backingScale(const Rect& windowFrame, const std::vector<DisplayInfo>& displays);

}  // namespace AreaCaptureMapper
}  // namespace quillant
