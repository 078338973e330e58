#include <gmock/gmock.h>

#include "Linux/X11/X11Windows.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

using testing::ElementsAre;

void setProperty(X11Connection& x, xcb_window_t window, std::string_view name, xcb_atom_t type, int format,
                 std::size_t count, const void* data) {
  xcb_change_property(x.get(), XCB_PROP_MODE_REPLACE, window, x.atom(name), type,
                      static_cast<std::uint8_t>(format), static_cast<std::uint32_t>(count), data);
}

xcb_window_t makeWindow(X11Connection& x, xcb_window_t parent, xcb_rectangle_t frame,
                        std::uint32_t overrideRedirect = 0) {
  const xcb_window_t window = xcb_generate_id(x.get());
  xcb_create_window(x.get(), 0, window, parent, frame.x, frame.y, frame.width, frame.height, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, 0, XCB_CW_OVERRIDE_REDIRECT, &overrideRedirect);
  xcb_map_window(x.get(), window);
  return window;
}

TEST(X11Windows, ListsWhatTheManagerLooksAfterOrElseWhatIsVisible) {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  const VirtualDisplay display;
  X11Connection x(display.name());
  const xcb_window_t plain = makeWindow(x, x.root(), {10, 20, 300, 200});
  setProperty(x, plain, "WM_NAME", XCB_ATOM_STRING, 8, 3, "old");
  makeWindow(x, x.root(), {0, 0, 50, 50}, 1);  // a menu
  const xcb_window_t hidden = makeWindow(x, x.root(), {0, 0, 50, 50});
  xcb_unmap_window(x.get(), hidden);
  EXPECT_THAT(X11Windows::list(x), ElementsAre(X11Window{plain, "old", {10, 20, 300, 200}, true}));

  // A manager puts windows into frames of its own, and keeps those that are hidden in its list.
  const xcb_window_t decoration = makeWindow(x, x.root(), {100, 100, 220, 180});
  const xcb_window_t framed = makeWindow(x, decoration, {5, 25, 210, 150});
  setProperty(x, framed, "_NET_WM_NAME", x.atom("UTF8_STRING"), 8, 7, "Größe");
  setProperty(x, framed, "WM_NAME", XCB_ATOM_STRING, 8, 5, "Gr..e");
  setProperty(x, framed, "WM_CLASS", XCB_ATOM_STRING, 8, 13, "editor\0Editor");
  const xcb_atom_t types[] = {x.atom("_MANAGERS_OWN"), x.atom("_NET_WM_WINDOW_TYPE_DOCK"),
                              x.atom("_NET_WM_WINDOW_TYPE_NORMAL")};
  setProperty(x, framed, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM, 32, 3, types);
  const xcb_window_t gone = xcb_generate_id(x.get());
  const xcb_window_t managed[] = {hidden, gone, framed};
  setProperty(x, x.root(), "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, 32, 1, &decoration);
  setProperty(x, x.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, 32, 3, managed);
  EXPECT_THAT(X11Windows::list(x),
              ElementsAre(X11Window{hidden, "", {0, 0, 50, 50}, false},
                          X11Window{framed, "Größe", {105, 125, 210, 150}, true, "Editor", 1}));
}

}  // namespace
}  // namespace quillant
