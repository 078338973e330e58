#include <algorithm>
#include <fmt/format.h>
#include <future>

#include "CaptureEngine/RecordingCoordinator.h"
#include "CaptureEngine/RecordingFiles.h"
#include "CaptureEngine/Telemetry/CursorTelemetryCodec.h"
#include "Tests/Support/Eventually.h"
#include "Tests/quillant/RecordingFixture.h"
#include "quillant/PlatformServices.h"

namespace quillant {

namespace {

/// A double click and a right one inside of a window; then the window moves, and the pointer with it.
class RecordedClicksTest : public RecordingFixture {
 protected:
  /// Records the target, and tells what the pointer's track holds.
  std::string clicksIn(CaptureOptions target) {
    target.outputURL = video;
    const auto coordinator = RecordingCoordinator::make(services->captureServices());
    auto outcome = std::async(std::launch::async, [&] {
      return runBlocking(coordinator->record({.options = target, .duration = 60}));
    });
    EXPECT_TRUE(eventually(
        [&] { return runBlocking(coordinator->phase()) == RecordingCoordinator::Phase::recording; }));
    const auto moveWindow = "search --name Clicked windowmove --sync ";
    // The pointer rests for several samples about each click.
    run("mousemove 150 130 sleep 0.2 click --repeat 2 --delay 60 1 sleep 0.06 click 3 sleep 0.2");
    run(moveWindow + std::string("140 100 mousemove 190 150 sleep 0.4 click 1 sleep 0.2"));
    runBlocking(coordinator->stop());
    outcome.get();
    run(moveWindow + std::string("100 80"));

    const auto path = RecordingFiles::cursorTelemetry(video);
    const auto track = CursorTelemetryCodec::decode(AtomicFile::read(path));
    auto text = fmt::format("{}x{}:", track.width, track.height);
    for (const auto& click : track.clicks)
      text += fmt::format(" {} {},{} x{}", click.button, click.x, click.y, click.clickCount);
    for (const auto& file : {std::filesystem::path(video), path}) std::filesystem::remove(file);
    return text;
  }
  std::uint32_t windowID() {
    const auto windows = services->captureServices().screen->content().windows;
    return std::ranges::find(windows, "Clicked", &WindowInfo::title)->id;
  }
  void run(const std::string& words) { EXPECT_EQ(display->run({"sh", "-c", "xdotool " + words}), 0); }

  std::optional<PlatformServices> services;
};

TEST_F(RecordedClicksTest, LieWhereTheyAreInThePicture) {
  ::setenv("DISPLAY", display->name().c_str(), 1);
  move({"still", "--size", "200x150", "--at", "100,80", "--title", "Clicked"});
  run("search --sync --name Clicked");
  struct Case {
    const char* dpi;
    CaptureArea area;  ///< Of 300 by 200 pixels, 60 from the left and 40 from the top.
    const char* inDisplay;
    const char* inArea;
    const char* inWindow;
  };
  for (const auto& [dpi, area, inDisplay, inArea, inWindow] :
       {Case{"96",
             {60, 240, 300, 200},
             "640x480: left 150,130 x1 left 150,130 x2 right 150,130 x1 left 190,150 x1",
             "300x200: left 90,90 x1 left 90,90 x2 right 90,90 x1 left 130,110 x1",
             "200x150: left 50,50 x1 left 50,50 x2 right 50,50 x1 left 50,50 x1"},
        Case{"192",
             {30, 120, 150, 100},
             "320x240: left 75,65 x1 left 75,65 x2 right 75,65 x1 left 95,75 x1",
             "150x100: left 45,45 x1 left 45,45 x2 right 45,45 x1 left 65,55 x1",
             "100x75: left 25,25 x1 left 25,25 x2 right 25,25 x1 left 25,25 x1"}}) {
    ASSERT_EQ(display->run({"sh", "-c", std::string("echo Xft.dpi: ") + dpi + " | xrdb -merge"}), 0);
    services.emplace();
    EXPECT_EQ(clicksIn({}), inDisplay);
    EXPECT_EQ(clicksIn({.area = area}), inArea);
    EXPECT_EQ(clicksIn({.windowID = windowID()}), inWindow);
  }
}

}  // namespace

}  // namespace quillant
