#include "Tests/Linux/Screen/ScreenFixture.h"

#include <algorithm>
#include <cstring>

#include "Core/PixelRects.h"
#include "Tests/Support/Eventually.h"

namespace quillant {

namespace {

bool isInside(const std::vector<PixelRect>& rects, int x, int y) {
  return std::ranges::any_of(rects, [&](const PixelRect& rect) {
    return PixelRects::contains(rect, {x, y, 1, 1});
  });
}

Grid gridOf(const PixelBuffer& buffer) {
  Grid grid(buffer.width, buffer.height);
  for (int y = 0; y < buffer.height; ++y)
    std::memcpy(&grid.at(0, y), buffer.planes[0].data + std::ptrdiff_t{y} * buffer.planes[0].stride,
                static_cast<std::size_t>(buffer.width) * 4);
  for (auto& pixel : grid.pixels) pixel &= 0xffffff;
  return grid;
}

}  // namespace

void Grid::fill(const PixelRect& rect, std::uint32_t color) {
  const PixelRect visible = PixelRects::intersection(rect, {0, 0, width, height});
  for (int y = visible.y; y < visible.y + visible.height; ++y)
    for (int x = visible.x; x < visible.x + visible.width; ++x) at(x, y) = color;
}

Grid Grid::crop(const PixelRect& rect) {
  Grid result(rect.width, rect.height);
  const PixelRect visible = PixelRects::intersection(rect, {0, 0, width, height});
  for (int y = visible.y; y < visible.y + visible.height; ++y)
    for (int x = visible.x; x < visible.x + visible.width; ++x) result.at(x - rect.x, y - rect.y) = at(x, y);
  return result;
}

testing::AssertionResult shows(const PixelBuffer& buffer, const Grid& expected) {
  const Grid actual = gridOf(buffer);
  if (actual.width != expected.width || actual.height != expected.height)
    return testing::AssertionFailure() << actual.width << " by " << actual.height;
  const auto [wrong, right] = std::ranges::mismatch(actual.pixels, expected.pixels);
  if (wrong == actual.pixels.end()) return testing::AssertionSuccess();
  const auto at = wrong - actual.pixels.begin();
  return testing::AssertionFailure() << "at " << at % actual.width << ", " << at / actual.width << ": "
                                     << std::hex << *wrong << " instead of " << *right;
}

StreamCallbacks Frames::callbacks() {
  return {.onFrame = [this](PixelBufferRef buffer, MediaTime time) { take(std::move(buffer), time); },
          .onStopped =
              [this](const std::exception_ptr& error) {
                const std::lock_guard lock(mutex_);
                try {
                  std::rethrow_exception(error);
                } catch (const ScreenError& screenError) {
                  state_.ends.push_back(screenError.kind());
                }
              }};
}

void Frames::take(PixelBufferRef buffer, MediaTime time) {
  Grid now = gridOf(*buffer);
  const std::lock_guard lock(mutex_);
  EXPECT_EQ(buffer->sequence, state_.times.size() + 1);
  if (!state_.times.empty()) {
    EXPECT_GT(time, state_.times.back());
    EXPECT_FALSE(buffer->changed.empty());
    bool isTold = true;
    for (int y = 0; y < now.height; ++y)
      for (int x = 0; x < now.width; ++x)
        isTold = isTold && (now.at(x, y) == last_.at(x, y) || isInside(buffer->changed, x, y));
    EXPECT_TRUE(isTold) << "frame " << buffer->sequence << " does not tell all that changed";
  }
  last_ = std::move(now);
  state_.times.push_back(time);
  if (!holdAll) state_.held.clear();
  state_.held.push_back(std::move(buffer));
}

Frames::State Frames::state() const {
  const std::lock_guard lock(mutex_);
  return state_;
}

PixelBufferRef Frames::wait(std::size_t number) {
  const bool came = eventually([&] { return state().times.size() >= number; });
  EXPECT_TRUE(came) << "frame " << number << " does not come";
  return came ? state().held.back() : nullptr;
}

testing::AssertionResult Frames::waitUntilShown(const Grid& expected) {
  testing::AssertionResult result = testing::AssertionFailure() << "no frame came";
  eventually([&] {
    const auto held = state().held;
    if (!held.empty()) result = shows(*held.back(), expected);
    return static_cast<bool>(result);
  });
  return result;
}

std::optional<ScreenError::Kind> Frames::waitForEnd() {
  if (!eventually([&] { return !state().ends.empty(); })) return std::nullopt;
  return state().ends.front();
}

void Frames::letGo() {
  const std::lock_guard lock(mutex_);
  state_.held.clear();
}

void ScreenFixture::SetUp() {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  makeDisplay(400, 300);
}

void ScreenFixture::makeDisplay(int width, int height, const std::vector<std::string>& arguments) {
  x.reset();
  display = std::make_unique<VirtualDisplay>(width, height, arguments);
  x = std::make_unique<X11Connection>(display->name());
  gc_ = xcb_generate_id(x->get());
  xcb_create_gc(x->get(), gc_, x->root(), 0, nullptr);
  root = Grid(width, height);
  draw({{{0, 0, width, height}, 0x102030}});
}

void ScreenFixture::draw(const std::vector<std::pair<PixelRect, std::uint32_t>>& fills, xcb_window_t window) {
  xcb_grab_server(x->get());
  for (const auto& [rect, color] : fills) {
    xcb_change_gc(x->get(), gc_, XCB_GC_FOREGROUND, &color);
    const xcb_rectangle_t area{static_cast<std::int16_t>(rect.x), static_cast<std::int16_t>(rect.y),
                               static_cast<std::uint16_t>(rect.width),
                               static_cast<std::uint16_t>(rect.height)};
    xcb_poly_fill_rectangle(x->get(), window == XCB_NONE ? x->root() : window, gc_, 1, &area);
    if (window == XCB_NONE) root.fill(rect, color);
  }
  xcb_ungrab_server(x->get());
  flush();
}

xcb_window_t ScreenFixture::makeWindow(const PixelRect& frame, std::uint32_t color, xcb_window_t parent) {
  const xcb_window_t window = xcb_generate_id(x->get());
  xcb_create_window(x->get(), XCB_COPY_FROM_PARENT, window, parent == XCB_NONE ? x->root() : parent,
                    static_cast<std::int16_t>(frame.x), static_cast<std::int16_t>(frame.y),
                    static_cast<std::uint16_t>(frame.width), static_cast<std::uint16_t>(frame.height), 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &color);
  map(window);
  return window;
}

void ScreenFixture::map(xcb_window_t window) {
  xcb_map_window(x->get(), window);
  flush();
}

void ScreenFixture::configure(xcb_window_t window, std::uint16_t mask,
                              const std::vector<std::uint32_t>& values) {
  xcb_configure_window(x->get(), window, mask, values.data());
  flush();
}

void ScreenFixture::flush() {
  x->wait(xcb_get_input_focus_reply, xcb_get_input_focus(x->get()));
}

StreamRequest ScreenFixture::wholeDisplay() {
  StreamRequest request;
  const X11Monitor monitor = X11Layout::read(*x).main();
  request.width = static_cast<int>(monitor.frame.width);
  request.height = static_cast<int>(monitor.frame.height);
  request.minimumFrameInterval = {1, 500};
  request.target = {
      monitor,
      {static_cast<int>(monitor.frame.x), static_cast<int>(monitor.frame.y), request.width, request.height}};
  return request;
}

ScreenStream& ScreenFixture::start(const StreamRequest& request, const std::string& displayName) {
  stream = std::make_unique<ScreenStream>(displayName.empty() ? display->name() : displayName, patience,
                                          request.target, request, queue, frames.callbacks());
  runBlocking(stream->startCapture());
  return *stream;
}

void ScreenFixture::stop() {
  runBlocking(stream->stopCapture());
}

}  // namespace quillant
