#include "Linux/Screen/X11ScreenService.h"

#include "Linux/Screen/RootPixels.h"
#include "Linux/Screen/ScreenStream.h"
#include "Linux/X11/X11Connection.h"
#include "Linux/X11/X11Layout.h"
#include "Linux/X11/X11Windows.h"

namespace quillant {

namespace {

DisplayInfo displayInfo(const X11Monitor& monitor, const X11Layout& layout) {
  return {.id = monitor.id,
          .frame = layout.points(monitor.frame),
          .scale = layout.scale,
          .pixelWidth = static_cast<int>(monitor.frame.width),
          .pixelHeight = static_cast<int>(monitor.frame.height),
          .isMain = &monitor == &layout.main()};
}

}  // namespace

ShareableContent X11ScreenService::content() try {
  X11Connection x(displayName_);
  RootPixels::requireBGRA(x);
  const X11Layout layout = X11Layout::read(x);
  ShareableContent content;
  for (const auto& monitor : layout.monitors) content.displays.push_back(displayInfo(monitor, layout));
  for (auto& window : X11Windows::list(x))
    content.windows.push_back({window.id, std::move(window.title), layout.points(window.frame)});
  return content;
} catch (const X11Error& error) {
  throw ScreenError(ScreenError::Kind::unavailable, error.description());
}

std::unique_ptr<StreamControlling> X11ScreenService::makeStream(const StreamConfiguration& configuration,
                                                                SerialQueue& sampleQueue,
                                                                StreamCallbacks callbacks) {
  return std::make_unique<ScreenStream>(displayName_, configuration, sampleQueue, std::move(callbacks));
}

}  // namespace quillant
