#include "Linux/X11/X11Windows.h"

#include <cstring>

namespace quillant::X11Windows {

namespace {

std::vector<xcb_window_t> managedWindows(X11Connection& x) {
  const std::string bytes = x.property(x.root(), x.atom("_NET_CLIENT_LIST"));
  std::vector<xcb_window_t> windows(bytes.size() / sizeof(xcb_window_t));
  std::memcpy(windows.data(), bytes.data(), windows.size() * sizeof(xcb_window_t));
  return windows;
}

std::vector<xcb_window_t> childrenOfRoot(const X11Connection& x) {
  const auto tree = x.wait(xcb_query_tree_reply, xcb_query_tree(x.get(), x.root()));
  if (!tree) return {};
  const xcb_window_t* first = xcb_query_tree_children(tree.get());
  return {first, first + xcb_query_tree_children_length(tree.get())};
}

std::string title(X11Connection& x, xcb_window_t window) {
  std::string name = x.property(window, x.atom("_NET_WM_NAME"));
  return name.empty() ? x.property(window, XCB_ATOM_WM_NAME) : name;
}

}  // namespace

std::vector<X11Window> list(X11Connection& x) {
  const bool managed = !x.property(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK")).empty();
  std::vector<X11Window> windows;
  for (const xcb_window_t id : managed ? managedWindows(x) : childrenOfRoot(x)) {
    const auto attributes = x.wait(xcb_get_window_attributes_reply, xcb_get_window_attributes(x.get(), id));
    const auto place = frame(x, id);
    if (!attributes || !place) continue;  // closed meanwhile
    const bool isVisible = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (managed || (isVisible && !attributes->override_redirect))
      windows.push_back({id, title(x, id), *place, isVisible});
  }
  return windows;
}

std::optional<Rect> frame(const X11Connection& x, xcb_window_t window) {
  const auto geometryCookie = xcb_get_geometry(x.get(), window);
  const auto originCookie = xcb_translate_coordinates(x.get(), window, x.root(), 0, 0);
  const auto geometry = x.wait(xcb_get_geometry_reply, geometryCookie);
  const auto origin = x.wait(xcb_translate_coordinates_reply, originCookie);
  if (!geometry || !origin) return std::nullopt;
  return Rect{static_cast<double>(origin->dst_x), static_cast<double>(origin->dst_y),
              static_cast<double>(geometry->width), static_cast<double>(geometry->height)};
}

}  // namespace quillant::X11Windows
