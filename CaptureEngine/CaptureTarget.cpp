#include "CaptureEngine/CaptureTarget.h"

#include <algorithm>

#include "CaptureEngine/AreaCaptureMapper.h"
#include "CaptureEngine/CaptureError.h"
#include "CaptureEngine/OutputDimensions.h"
#include "CaptureEngine/WindowCaptureMapper.h"

namespace quillant {

namespace {

const DisplayInfo& pickDisplay(std::optional<std::uint32_t> requested,
                               const std::vector<DisplayInfo>& displays) {
  const auto found = std::find_if(displays.begin(), displays.end(), [&](const DisplayInfo& display) {
    return requested ? display.id == *requested : display.isMain;
  });
  if (found != displays.end()) return *found;
  if (!requested && !displays.empty()) return displays.front();
  CaptureError::DisplayNotFound problem{.requested = requested, .available = {}};
  for (const auto& display : displays) problem.available.push_back(display.id);
  throw CaptureError(problem);
}

const WindowInfo& findWindow(std::uint32_t id, const std::vector<WindowInfo>& windows) {
  const auto found = std::ranges::find(windows, id, &WindowInfo::id);
  if (found == windows.end()) throw CaptureError(CaptureError::WindowNotFound{id});
  return *found;
}

}  // namespace

CaptureTarget CaptureTarget::resolve(const CaptureOptions& options, const ShareableContent& content) {
  const auto& display = pickDisplay(options.displayID, content.displays);
  if (options.windowID) {
    const auto& window = findWindow(*options.windowID, content.windows);
    const auto geometry = WindowCaptureMapper::geometry(
        window.frame, AreaCaptureMapper::backingScale(window.frame, content.displays), options.resolution);
    return {.displayID = display.id,
            .window = window,
            .telemetryRegion = geometry.telemetryRegion,
            .width = geometry.outputWidth,
            .height = geometry.outputHeight};
  }
  if (options.area) {
    const auto geometry =
        AreaCaptureMapper::geometry(*options.area, display.id, options.resolution, content.displays);
    if (!geometry) throw CaptureError(CaptureError::AreaDisplayUnavailable{display.id});
    return {.displayID = display.id,
            .sourceRect = geometry->sourceRect,
            .telemetryRegion = geometry->telemetryRegion,
            .width = geometry->outputWidth,
            .height = geometry->outputHeight};
  }
  const auto size = outputDimensions(options.resolution, display.pixelWidth, display.pixelHeight);
  return {
      .displayID = display.id, .telemetryRegion = display.frame, .width = size.width, .height = size.height};
}

}  // namespace quillant
