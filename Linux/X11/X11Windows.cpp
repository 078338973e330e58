#include "Linux/X11/X11Windows.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string_view>

namespace quillant::X11Windows {

namespace {

/// A property that is a list of windows or of atoms.
std::vector<std::uint32_t> numbers(X11Connection& x, xcb_window_t window, std::string_view property) {
  const std::string bytes = x.property(window, x.atom(property));
  std::vector<std::uint32_t> result(bytes.size() / sizeof(std::uint32_t));
  if (!result.empty()) std::memcpy(result.data(), bytes.data(), result.size() * sizeof(std::uint32_t));
  return result;
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

/// The second of the two names in WM_CLASS, each of which ends with a zero.
std::string application(const X11Connection& x, xcb_window_t window) {
  const std::string names = x.property(window, XCB_ATOM_WM_CLASS);
  const auto first = names.find('\0');
  return first == std::string::npos ? names : std::string(names.c_str() + first + 1);
}

/// By the first type that is known: programs put what is more special before what every manager knows.
int layer(X11Connection& x, xcb_window_t window) {
  const auto type = [&](std::string_view name) { return x.atom("_NET_WM_WINDOW_TYPE_" + std::string(name)); };
  const auto isOneOf = [&](xcb_atom_t atom, std::initializer_list<std::string_view> names) {
    return std::ranges::any_of(names, [&](std::string_view name) { return type(name) == atom; });
  };
  for (const xcb_atom_t atom : numbers(x, window, "_NET_WM_WINDOW_TYPE")) {
    if (isOneOf(atom, {"NORMAL", "DIALOG", "UTILITY"})) return 0;
    if (isOneOf(atom, {"DESKTOP"})) return -1;
    if (isOneOf(atom, {"DOCK", "TOOLBAR", "MENU", "SPLASH", "DROPDOWN_MENU", "POPUP_MENU", "TOOLTIP",
                       "NOTIFICATION", "COMBO", "DND"}))
      return 1;
  }
  return 0;
}

}  // namespace

std::vector<X11Window> list(X11Connection& x) {
  const bool managed = !x.property(x.root(), x.atom("_NET_SUPPORTING_WM_CHECK")).empty();
  std::vector<X11Window> windows;
  for (const xcb_window_t id : managed ? numbers(x, x.root(), "_NET_CLIENT_LIST") : childrenOfRoot(x)) {
    const auto attributes = x.wait(xcb_get_window_attributes_reply, xcb_get_window_attributes(x.get(), id));
    const auto place = frame(x, id);
    if (!attributes || !place) continue;  // closed meanwhile
    const bool isVisible = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
    if (managed || (isVisible && !attributes->override_redirect))
      windows.push_back({id, title(x, id), *place, isVisible, application(x, id), layer(x, id)});
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
