#pragma once

#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CaptureEngine/ScreenService.h"
#include "Linux/Screen/ScreenStream.h"
#include "Linux/X11/X11Connection.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {

/// A picture in the test's own memory; a pixel is 0xRRGGBB.
struct Grid {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;

  Grid(int w, int h)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}
  std::uint32_t& at(int x, int y) {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
  PixelBuffer::Plane plane() { return {reinterpret_cast<std::uint8_t*>(pixels.data()), width * 4}; }
  void fill(const PixelRect& rect, std::uint32_t color);
  Grid crop(const PixelRect& rect);  ///< Black where `rect` reaches beyond.
};

/// Compares every pixel; a failure names the first that differs.
testing::AssertionResult shows(const PixelBuffer& buffer, const Grid& expected);

/// What a stream has delivered. Every buffer is checked on arrival: what differs from the one before lies
/// inside what it says has changed, and the stamps rise. The newest is held, and on demand all of them.
class Frames {
 public:
  struct State {
    std::vector<MediaTime> times;
    std::vector<PixelBufferRef> held;
    std::vector<ScreenError::Kind> ends;
  };
  StreamCallbacks callbacks();
  State state() const;
  /// The newest frame once there are as many as `number`; null, with a failure, if it does not come.
  PixelBufferRef wait(std::size_t number);
  /// Waits until the newest frame shows `expected`.
  testing::AssertionResult waitUntilShown(const Grid& expected);
  /// Waits until the stream ends by itself.
  std::optional<ScreenError::Kind> waitForEnd();
  void letGo();  ///< Forgets the buffers, so that they return to the pool.
  std::atomic<bool> holdAll = false;

 private:
  void take(PixelBufferRef buffer, MediaTime time);

  mutable std::mutex mutex_;
  State state_;
  Grid last_{0, 0};
};

/// A stream to be tried, and what it is taken from.
struct StreamRequest : StreamConfiguration {
  X11Target target;
};

/// A virtual display of 400 by 300 pixels, a client that draws on it, and a model of what it shows.
class ScreenFixture : public testing::Test {
 protected:
  void SetUp() override;
  void makeDisplay(int width, int height, const std::vector<std::string>& arguments = {});

  /// Fills rectangles of `window` in one go, as no capture can see them half done.
  void draw(const std::vector<std::pair<PixelRect, std::uint32_t>>& fills, xcb_window_t window = XCB_NONE);
  xcb_window_t makeWindow(const PixelRect& frame, std::uint32_t color, xcb_window_t parent = XCB_NONE);
  void map(xcb_window_t window);
  void configure(xcb_window_t window, std::uint16_t mask, const std::vector<std::uint32_t>& values);
  /// Waits until the server has carried out what was asked of it.
  void flush();

  /// All of the only display, at a rate at which no test waits.
  StreamRequest wholeDisplay();
  ScreenStream& start(const StreamRequest& request, const std::string& displayName = {});
  void stop();

  std::unique_ptr<VirtualDisplay> display;
  std::unique_ptr<X11Connection> x;
  Grid root{0, 0};
  Frames frames;
  SerialQueue queue{"test.samples"};
  std::unique_ptr<ScreenStream> stream;
  X11Connection::Duration patience = X11Connection::defaultPatience;

 private:
  xcb_gcontext_t gc_ = 0;
};

}  // namespace quillant
