#include <gtest/gtest.h>

#include "Linux/X11/X11Layout.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

TEST(X11Layout, TakesTheScaleFromTheResourceDatabase) {
  struct Case {
    std::string resources;
    double scale;
  };
  for (const auto& [resources, scale] : std::vector<Case>{
           {"", 1},
           {"Xcursor.size:\t24\nXft.dpi:\t192\nXft.hinting:\t1\n", 2},
           {"Xft.dpi: 144", 1.5},
           {"Xft.dpi:\t110\n", 1.25},
           {"Xft.dpi:\t72\n", 1},
           {"Xft.dpi:\t1e9\n", 4},
           {"Xft.dpi:\tnan\n", 1},
           {"Other.Xft.dpi:\t192\n", 1},
       })
    EXPECT_EQ(scaleFromResources(resources), scale) << resources;
}

TEST(X11Layout, CountsPointsFromTheMainMonitorsCorner) {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  const VirtualDisplay display(1400, 800);
  X11Connection x(display.name());

  // The main monitor is the right one, lower than its neighbour.
  ASSERT_EQ(display.run({"xrandr", "--setmonitor", "LEFT", "600/160x700/190+0+0", "none"}), 0);
  ASSERT_EQ(display.run({"xrandr", "--setmonitor", "*RIGHT", "800/210x600/160+600+200", "screen"}), 0);
  ASSERT_EQ(display.run({"xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER",
                         "Xft.dpi:\t192\n"}),
            0);
  const X11Layout layout = X11Layout::read(x);
  ASSERT_EQ(layout.monitors.size(), 2U);
  EXPECT_EQ(layout.main().name, "RIGHT");
  EXPECT_EQ(layout.points(layout.main().frame), (Rect{0, 0, 400, 300}));
  EXPECT_EQ(layout.points(layout.monitors[1].frame), (Rect{-300, -100, 300, 350}));
  EXPECT_EQ(layout.points(Point{700, 100}), (Point{50, -50}));

  // An id is a monitor's own, wherever it stands in the list and whoever asks.
  EXPECT_NE(layout.main().id, layout.monitors[1].id);
  for (const char* name : {"LEFT", "RIGHT"}) ASSERT_EQ(display.run({"xrandr", "--delmonitor", name}), 0);
  ASSERT_EQ(display.run({"xrandr", "--setmonitor", "*LEFT", "600/160x700/190+0+0", "none"}), 0);
  ASSERT_EQ(display.run({"xrandr", "--setmonitor", "RIGHT", "800/210x600/160+600+200", "screen"}), 0);
  const X11Layout swapped = X11Layout::read(X11Connection(display.name()));
  EXPECT_EQ(swapped.main().name, "LEFT");
  ASSERT_NE(swapped.find(layout.main().id), nullptr);
  EXPECT_EQ(swapped.find(layout.main().id)->name, "RIGHT");
  EXPECT_EQ(swapped.find(0), nullptr);
}

}  // namespace
}  // namespace quillant
