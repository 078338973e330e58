// quillant-animation: one window in which something moves, drawn by the X server from a picture that it
// keeps, so that the client itself costs next to nothing.

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <fmt/format.h>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Core/HostClock.h"
#include "Linux/X11/X11Connection.h"

namespace {

using namespace quillant;

constexpr std::string_view usage =
    "usage: quillant-animation still|region|full|noise|flash|press [--size WxH] [--at X,Y] [--rate N]\n"
    "                          [--duration SECONDS] [--title TEXT]\n"
    "  still   a picture that does not move\n"
    "  region  a picture that scrolls in a window of 400x300\n"
    "  full    the same in a window of the screen's size\n"
    "  noise   another noise with every frame\n"
    "  flash   black and white in turn; prints the host clock, in nanoseconds, at each change\n"
    "  press   the same, with each press of a button on it\n";

/// How much larger than the window the picture is that is scrolled behind it.
constexpr int margin = 256;

enum class Mode { still, region, full, noise, flash, press };

struct Options {
  Mode mode = Mode::still;
  std::optional<std::pair<int, int>> size;
  std::pair<int, int> at{0, 0};
  double rate = 60;
  double duration = 0;  ///< Seconds; 0 means until the server or the user ends it.
  std::string title = "Animation";
};

/// "400x300" or "10,20".
std::optional<std::pair<int, int>> pairOfNumbers(std::string_view text, char separator) {
  const auto middle = text.find(separator);
  if (middle == std::string_view::npos) return std::nullopt;
  std::pair<int, int> result;
  const char* end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), text.data() + middle, result.first);
  const auto second = std::from_chars(text.data() + middle + 1, end, result.second);
  if (first.ec != std::errc() || first.ptr != text.data() + middle || second.ec != std::errc() ||
      second.ptr != end)
    return std::nullopt;
  return result;
}

std::optional<double> number(std::string_view text) {
  double result = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), result);
  if (parsed.ec != std::errc() || parsed.ptr != text.data() + text.size() || result < 0) return std::nullopt;
  return result;
}

std::optional<Mode> modeNamed(std::string_view text) {
  constexpr std::string_view names[] = {"still", "region", "full", "noise", "flash", "press"};
  const auto* found = std::ranges::find(names, text);
  if (found == std::end(names)) return std::nullopt;
  return static_cast<Mode>(found - std::begin(names));
}

std::optional<Options> parse(const std::vector<std::string_view>& arguments) {
  if (arguments.empty()) return std::nullopt;
  Options options;
  const auto mode = modeNamed(arguments[0]);
  if (!mode) return std::nullopt;
  options.mode = *mode;
  for (std::size_t i = 1; i + 1 < arguments.size(); i += 2) {
    const auto option = arguments[i];
    const auto value = arguments[i + 1];
    if (option == "--title") {
      options.title = value;
    } else if (option == "--size") {
      options.size = pairOfNumbers(value, 'x');
      if (!options.size || options.size->first < 1 || options.size->second < 1) return std::nullopt;
    } else if (option == "--at") {
      const auto at = pairOfNumbers(value, ',');
      if (!at) return std::nullopt;
      options.at = *at;
    } else if (option == "--rate" || option == "--duration") {
      const auto parsed = number(value);
      if (!parsed || (option == "--rate" && *parsed == 0)) return std::nullopt;
      (option == "--rate" ? options.rate : options.duration) = *parsed;
    } else {
      return std::nullopt;
    }
  }
  if (arguments.size() % 2 == 0) return std::nullopt;
  return options;
}

class Animation {
 public:
  explicit Animation(const Options& options) : options_(options) {
    const std::pair<int, int> screen{x_.screen().width_in_pixels, x_.screen().height_in_pixels};
    size_ = options.size.value_or(options.mode == Mode::region ? std::pair{400, 300} : screen);
    gc_ = xcb_generate_id(c());
    xcb_create_gc(c(), gc_, x_.root(), 0, nullptr);
    const std::uint32_t withoutExposures = 0;
    xcb_change_gc(c(), gc_, XCB_GC_GRAPHICS_EXPOSURES, &withoutExposures);
    makePicture();
    makeWindow();
  }

  /// Runs until the duration is over, or for ever if presses are awaited; false if the server went away
  /// before.
  bool run() {
    if (options_.mode == Mode::press) return answerPresses();
    const auto start = std::chrono::steady_clock::now();
    const auto interval = std::chrono::duration<double>(1 / options_.rate);
    for (int frame = 0; options_.duration == 0 || frame < options_.duration * options_.rate; ++frame) {
      std::this_thread::sleep_until(start +
                                    std::chrono::duration_cast<std::chrono::nanoseconds>(interval * frame));
      if (!redrawIfExposed()) return false;
      if (options_.mode != Mode::still) draw(frame);
      // Never ahead of the server by more than a frame.
      if (!x_.wait(xcb_get_input_focus_reply, xcb_get_input_focus(c()))) return false;
      if (options_.mode == Mode::flash) tellOfFlash(frame);
    }
    return true;
  }

 private:
  xcb_connection_t* c() const { return x_.get(); }

  bool answerPresses() {
    for (int frame = 0; const X11Reply<xcb_generic_event_t> event{xcb_wait_for_event(c())};) {
      if ((event->response_type & 0x7f) != XCB_BUTTON_PRESS) continue;
      draw(++frame);
      if (!x_.wait(xcb_get_input_focus_reply, xcb_get_input_focus(c()))) break;
      tellOfFlash(frame);
    }
    return false;
  }

  static void tellOfFlash(int frame) {
    fmt::print("{} {}\n", frame % 2 == 0 ? "black" : "white", HostClock::now().value);
    std::fflush(stdout);
  }

  void fill(xcb_drawable_t target, std::uint32_t color, int x, int y, int width, int height) {
    xcb_change_gc(c(), gc_, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t rect{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                               static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
    xcb_poly_fill_rectangle(c(), target, gc_, 1, &rect);
  }

  /// Lines of words in many colours: about as hard to encode as a page of text.
  void makePicture() {
    const int width = size_.first + margin;
    const int height = size_.second + margin;
    picture_ = xcb_generate_id(c());
    xcb_create_pixmap(c(), x_.screen().root_depth, picture_, x_.root(), static_cast<std::uint16_t>(width),
                      static_cast<std::uint16_t>(height));
    if (options_.mode == Mode::noise) return makeNoise(width, height);
    fill(picture_, 0xf4f4f0, 0, 0, width, height);
    for (int y = 8; y < height; y += 22)
      for (int x = 12; x < width;) {
        const int word = 12 + static_cast<int>(random_() % 90);
        fill(picture_, static_cast<std::uint32_t>(random_() & 0xa0a0ff), x, y, word, 12);
        for (int letter = x + 7; letter < x + word; letter += 9)
          fill(picture_, 0xf4f4f0, letter, y + static_cast<int>(random_() % 6), 2, 6);
        x += word + 10;
      }
  }

  void makeNoise(int width, int height) {
    constexpr int rows = 32;
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * rows);
    for (int y = 0; y < height; y += rows) {
      for (auto& pixel : pixels) pixel = static_cast<std::uint32_t>(random_());
      xcb_put_image(c(), XCB_IMAGE_FORMAT_Z_PIXMAP, picture_, gc_, static_cast<std::uint16_t>(width),
                    static_cast<std::uint16_t>(std::min(rows, height - y)), 0, static_cast<std::int16_t>(y),
                    0, x_.screen().root_depth,
                    static_cast<std::uint32_t>(width * std::min(rows, height - y) * 4),
                    reinterpret_cast<const std::uint8_t*>(pixels.data()));
    }
  }

  void makeWindow() {
    window_ = xcb_generate_id(c());
    const std::uint32_t values[] = {x_.screen().black_pixel,
                                    XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS};
    xcb_create_window(c(), XCB_COPY_FROM_PARENT, window_, x_.root(),
                      static_cast<std::int16_t>(options_.at.first),
                      static_cast<std::int16_t>(options_.at.second), static_cast<std::uint16_t>(size_.first),
                      static_cast<std::uint16_t>(size_.second), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    xcb_change_property(c(), XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(options_.title.size()), options_.title.data());
    xcb_map_window(c(), window_);
    xcb_flush(c());
  }

  bool redrawIfExposed() {
    bool exposed = false;
    while (const X11Reply<xcb_generic_event_t> event{xcb_poll_for_event(c())})
      exposed |= (event->response_type & 0x7f) == XCB_EXPOSE;
    if (exposed && options_.mode == Mode::still) copyFrom(0, 0);
    return x_.isAlive();
  }

  void draw(int frame) {
    switch (options_.mode) {
      case Mode::still:
        return;
      case Mode::region:
      case Mode::full: {
        // Forth and back over the margin, four pixels a frame.
        const int step = frame * 4 % (2 * margin);
        const int offset = step < margin ? step : 2 * margin - step;
        return copyFrom(offset, offset / 2);
      }
      case Mode::noise:
        return copyFrom(static_cast<int>(random_() % margin), static_cast<int>(random_() % margin));
      case Mode::flash:
      case Mode::press:
        return fill(window_, frame % 2 == 0 ? 0 : 0xffffff, 0, 0, size_.first, size_.second);
    }
  }

  void copyFrom(int x, int y) {
    xcb_copy_area(c(), picture_, window_, gc_, static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), 0,
                  0, static_cast<std::uint16_t>(size_.first), static_cast<std::uint16_t>(size_.second));
  }

  Options options_;
  X11Connection x_;
  std::pair<int, int> size_;
  std::mt19937 random_{1};
  xcb_gcontext_t gc_ = 0;
  xcb_pixmap_t picture_ = 0;
  xcb_window_t window_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const auto options = parse({argv + 1, argv + argc});
  if (!options) {
    fmt::print(stderr, "{}", usage);
    return 64;
  }
  try {
    return Animation(*options).run() ? 0 : 70;
  } catch (const std::exception& error) {
    fmt::print(stderr, "quillant-animation: {}\n", error.what());
    return 70;
  }
}
