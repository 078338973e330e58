#include "quillant/PlatformServices.h"

#include "Linux/Input/X11ClickEventSource.h"

namespace quillant {

CaptureServices PlatformServices::captureServices() {
  return {.screen = &screen_,
          .windowFrames = &windowFrames_,
          .sound = &sound_,
          .camera = &camera_,
          .pointer = [this] { return pointer_.read(); },
          .makeClickEvents = [] { return makeX11ClickEventSource(); }};
}

}  // namespace quillant
