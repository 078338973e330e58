#include "Linux/Screen/X11ScreenSession.h"

#include <cmath>
#include <utility>

#include "CaptureEngine/CaptureTarget.h"
#include "Core/Text.h"
#include "Linux/Input/X11Input.h"
#include "Linux/Screen/BGRAPixels.h"
#include "Linux/Screen/ScreenStream.h"
#include "Linux/X11/X11Layout.h"
#include "Linux/X11/X11Windows.h"
#include "Linux/X11/Xwayland.h"

namespace quillant::X11ScreenSession {

namespace {

DisplayInfo displayInfo(const X11Monitor& monitor, const X11Layout& layout) {
  return {.id = monitor.id,
          .frame = layout.points(monitor.frame),
          .scale = layout.scale,
          .pixelWidth = static_cast<int>(monitor.frame.width),
          .pixelHeight = static_cast<int>(monitor.frame.height),
          .isMain = &monitor == &layout.main(),
          .name = monitor.name};
}

void requireDesktop(const X11Connection& x) {
  if (Xwayland::isServer(x)) throw ScreenError(ScreenError::Kind::notRecordable, Xwayland::whyNotRecordable);
  BGRAPixels::requireOfRoot(x);
}

ShareableContent contentOf(X11Connection& x, const X11Layout& layout) {
  ShareableContent content;
  for (const auto& monitor : layout.monitors) content.displays.push_back(displayInfo(monitor, layout));
  for (auto& window : X11Windows::list(x))
    content.windows.push_back({.id = window.id,
                               .title = std::move(window.title),
                               .frame = layout.points(window.frame),
                               .appName = window.application,
                               .appID = Text::lowercased(window.application),
                               .layer = window.layer,
                               .isOnScreen = window.isVisible});
  if (!x.isAlive())
    throw X11Error(x.whyDead());  // what it did not tell is no reason to choose another display
  return content;
}

X11Target freeze(const CaptureTarget& target, const X11Layout& layout) {
  const X11Monitor& monitor = *layout.find(target.displayID);
  Rect points{0, 0, monitor.frame.width / layout.scale, monitor.frame.height / layout.scale};
  if (target.sourceRect) points = *target.sourceRect;
  const auto pixels = [&](double length) { return static_cast<int>(std::lround(length * layout.scale)); };
  return {.monitor = monitor,
          .source = {static_cast<int>(monitor.frame.x) + pixels(points.x),
                     static_cast<int>(monitor.frame.y) + pixels(points.y), pixels(points.width),
                     pixels(points.height)},
          .window = target.window ? target.window->id : xcb_window_t{XCB_WINDOW_NONE}};
}

X11Input::Origin originOf(const X11Target& target, const X11Connection& x, double scale) {
  if (target.window != XCB_WINDOW_NONE) return {.window = target.window, .scale = scale};
  return {.window = x.root(),
          .offset = {static_cast<double>(target.source.x), static_cast<double>(target.source.y)},
          .scale = scale};
}

class Session : public ScreenSession {
 public:
  Session(const std::string& displayName, X11Connection::Duration patience, const CaptureOptions& options)
      : displayName_(displayName), patience_(patience), x_(displayName, patience) {
    requireDesktop(x_);
    const X11Layout layout = X11Layout::read(x_);
    const auto target = CaptureTarget::resolve(options, contentOf(x_, layout));
    source_ = target.source();
    target_ = freeze(target, layout);
    if (target_.window != XCB_WINDOW_NONE) BGRAPixels::requireOfWindow(x_, target_.window);
    input_.emplace(x_, originOf(target_, x_, layout.scale));
  }

  const RecordedSource& source() const override { return source_; }
  std::unique_ptr<StreamControlling> makeStream(const StreamConfiguration& configuration,
                                                SerialQueue& sampleQueue,
                                                StreamCallbacks callbacks) override {
    return std::make_unique<ScreenStream>(displayName_, patience_, target_, configuration, sampleQueue,
                                          std::move(callbacks));
  }
  CursorTrack::Snapshot pointer() override { return input_->read(); }
  ClickEventSource* clickEvents() override { return &*input_; }

 private:
  const std::string displayName_;
  const X11Connection::Duration patience_;
  X11Connection x_;
  RecordedSource source_;
  X11Target target_;
  std::optional<X11Input> input_;
};

}  // namespace

ShareableContent content(X11Connection& x) {
  requireDesktop(x);
  return contentOf(x, X11Layout::read(x));
}

std::unique_ptr<ScreenSession> open(const std::string& displayName, X11Connection::Duration patience,
                                    const CaptureOptions& options) {
  return std::make_unique<Session>(displayName, patience, options);
}

}  // namespace quillant::X11ScreenSession
