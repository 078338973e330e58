#include "CaptureEngine/AreaCaptureMapper.h"

#include <algorithm>

#include "CaptureEngine/OutputDimensions.h"

namespace quillant::AreaCaptureMapper {

namespace {

/// What a y is subtracted from to turn it over: upwards it counts from the primary display's bottom.
double primaryHeight(const std::vector<DisplayInfo>& displays, const Rect& otherwise) {
  auto primary = std::ranges::find_if(
      displays, [](const DisplayInfo& display) { return display.frame.x == 0 && display.frame.y == 0; });
  if (primary == displays.end()) primary = std::ranges::find(displays, true, &DisplayInfo::isMain);
  return primary == displays.end() ? otherwise.height : primary->frame.height;
}

}  // namespace

std::optional<AreaCaptureGeometry> geometry(const CaptureArea& area, std::uint32_t displayID,
                                            CaptureResolution resolution,
                                            const std::vector<DisplayInfo>& displays) {
  const auto display = std::ranges::find(displays, displayID, &DisplayInfo::id);
  if (display == displays.end()) return std::nullopt;
  const Rect& frame = display->frame;

  const double pixelWidth = area.width * display->scale;
  const double pixelHeight = area.height * display->scale;
  const OutputDimensions output = outputDimensions(resolution, pixelWidth, pixelHeight);
  const double pixelsPerPoint = display->scale * outputScale(resolution, pixelWidth, pixelHeight);
  const double width = output.width / pixelsPerPoint;
  const double height = output.height / pixelsPerPoint;

  const double top = primaryHeight(displays, frame) - (area.y + height);
  return AreaCaptureGeometry{
      .sourceRect = {std::max(area.x - frame.x, 0.0), std::max(top - frame.y, 0.0), width, height},
      .telemetryRegion = {area.x, top, width, height},
      .outputWidth = output.width,
      .outputHeight = output.height};
}

std::optional<CaptureArea> area(const Rect& drawn, std::uint32_t displayID,
                                const std::vector<DisplayInfo>& displays) {
  const auto display = std::ranges::find(displays, displayID, &DisplayInfo::id);
  if (display == displays.end()) return std::nullopt;
  const Rect& frame = display->frame;
  return CaptureArea{.x = frame.x + drawn.x,
                     .y = primaryHeight(displays, frame) - (frame.y + drawn.maxY()),
                     .width = drawn.width,
                     .height = drawn.height};
}

double backingScale(const Rect& windowFrame, const std::vector<DisplayInfo>& displays) {
  constexpr double withoutDisplays = 2;
  const double height = primaryHeight(displays, windowFrame);
  const Point middle{windowFrame.center().x, height - windowFrame.center().y};
  auto display = std::ranges::find_if(displays, [&](const DisplayInfo& candidate) {
    const Rect& frame = candidate.frame;
    return Rect{frame.x, height - frame.maxY(), frame.width, frame.height}.contains(middle);
  });
  if (display == displays.end()) display = std::ranges::find(displays, true, &DisplayInfo::isMain);
  return display == displays.end() ? withoutDisplays : display->scale;
}

}  // namespace quillant::AreaCaptureMapper
