// quillant-demo-stage: the demo's desktop in a window of the screen's size, or its portrait in a file.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fmt/format.h>
#include <string_view>
#include <thread>

#include "DrawKit/PNGImage.h"
#include "Linux/X11/X11Connection.h"
#include "tools/DemoStage/Portrait.h"
#include "tools/DemoStage/StageScene.h"

namespace {

using namespace quillant;
using Clock = std::chrono::steady_clock;

constexpr std::string_view usage =
    "usage: quillant-demo-stage                      shows the desktop; prints \"ready\" once it is there\n"
    "       quillant-demo-stage portrait <file.png>  writes what its camera sees\n";

class StageWindow {
 public:
  StageWindow() {
    window_ = xcb_generate_id(c());
    const std::uint32_t events =
        XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE;
    xcb_create_window(c(), XCB_COPY_FROM_PARENT, window_, x_.root(), 0, 0, StageScene::width,
                      StageScene::height, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_EVENT_MASK, &events);
    gc_ = xcb_generate_id(c());
    xcb_create_gc(c(), gc_, window_, 0, nullptr);
    xcb_map_window(c(), window_);
    xcb_flush(c());
  }

  /// Runs until the server goes away.
  void run() {
    constexpr auto tick = std::chrono::microseconds(16'667);
    for (auto next = start_; x_.isAlive(); next += tick) {
      std::this_thread::sleep_until(next);
      while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(c())}) take(*event);
      for (const auto& area : scene_.advance(seconds())) show(area);
      // Never ahead of the server by more than a frame.
      x_.wait(xcb_get_input_focus_reply, xcb_get_input_focus(c()));
    }
  }

 private:
  xcb_connection_t* c() const { return x_.get(); }
  double seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

  void take(const xcb_generic_event_t& event) {
    const auto& button = reinterpret_cast<const xcb_button_press_event_t&>(event);
    const Point place{static_cast<double>(button.event_x), static_cast<double>(button.event_y)};
    switch (event.response_type & 0x7f) {
      case XCB_EXPOSE:
        show({0, 0, StageScene::width, StageScene::height});
        fmt::print("ready\n");
        std::fflush(stdout);
        break;
      case XCB_BUTTON_PRESS:
        if (button.detail == 1) scene_.press(place, seconds());
        if (button.detail == 4 || button.detail == 5) scene_.turn(place, button.detail == 4 ? -1 : 1);
        break;
      case XCB_BUTTON_RELEASE:
        if (button.detail == 1) scene_.release(place);
        break;
      default:
        break;
    }
  }

  void show(const PixelRect& area) {
    const auto picture = scene_.compose(area);
    xcb_put_image(c(), XCB_IMAGE_FORMAT_Z_PIXMAP, window_, gc_, static_cast<std::uint16_t>(area.width),
                  static_cast<std::uint16_t>(area.height), static_cast<std::int16_t>(area.x),
                  static_cast<std::int16_t>(area.y), 0, x_.screen().root_depth,
                  static_cast<std::uint32_t>(picture->planes[0].stride * area.height),
                  picture->planes[0].data);
  }

  X11Connection x_;
  StageScene scene_;
  Clock::time_point start_ = Clock::now();
  xcb_window_t window_ = 0;
  xcb_gcontext_t gc_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const bool wantsPortrait = argc == 3 && std::string_view(argv[1]) == "portrait";
  if (argc != 1 && !wantsPortrait) {
    fmt::print(stderr, "{}", usage);
    return 64;
  }
  try {
    if (wantsPortrait)
      PNGImage::write(*portrait(), argv[2]);
    else
      StageWindow().run();
    return 0;
  } catch (const Error& error) {
    fmt::print(stderr, "quillant-demo-stage: {}\n", error.description());
    return 70;
  }
}
