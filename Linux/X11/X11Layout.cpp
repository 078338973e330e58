#include "Linux/X11/X11Layout.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <xcb/randr.h>

namespace quillant {

namespace {

/// 1 to 65535 from the name alone (FNV-1a, folded): short enough to be typed by hand.
std::uint32_t idFromName(std::string_view name) {
  std::uint32_t hash = 2166136261U;
  for (const char character : name) hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
  return std::max(1U, (hash >> 16) ^ (hash & 0xffffU));
}

std::string atomName(const X11Connection& x, xcb_atom_t atom) {
  const auto reply = x.wait(xcb_get_atom_name_reply, xcb_get_atom_name(x.get(), atom));
  if (!reply) return {};
  return {xcb_get_atom_name_name(reply.get()),
          static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

/// The monitors that show something; the main one first.
std::vector<X11Monitor> activeMonitors(const X11Connection& x) {
  std::vector<X11Monitor> monitors;
  if (!x.firstEvent(xcb_randr_id)) return monitors;
  const auto version = x.wait(xcb_randr_query_version_reply, xcb_randr_query_version(x.get(), 1, 5));
  if (!version || (version->major_version == 1 && version->minor_version < 5)) return monitors;
  const auto reply = x.wait(xcb_randr_get_monitors_reply, xcb_randr_get_monitors(x.get(), x.root(), 1));
  if (!reply) return monitors;

  std::unordered_set<std::uint32_t> taken;
  std::size_t mainIndex = 0;
  bool hasPrimary = false;
  for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
       xcb_randr_monitor_info_next(&it)) {
    const auto& info = *it.data;
    if (info.width == 0 || info.height == 0) continue;
    X11Monitor monitor{.id = 0,
                       .name = atomName(x, info.name),
                       .frame = {static_cast<double>(info.x), static_cast<double>(info.y),
                                 static_cast<double>(info.width), static_cast<double>(info.height)}};
    monitor.id = idFromName(monitor.name);
    while (!taken.insert(monitor.id).second) ++monitor.id;
    if (info.primary && !hasPrimary) {
      hasPrimary = true;
      mainIndex = monitors.size();
    } else if (!hasPrimary && info.x == 0 && info.y == 0) {
      mainIndex = monitors.size();
    }
    monitors.push_back(std::move(monitor));
  }
  if (!monitors.empty())
    std::rotate(monitors.begin(), monitors.begin() + static_cast<std::ptrdiff_t>(mainIndex),
                monitors.begin() + static_cast<std::ptrdiff_t>(mainIndex) + 1);
  return monitors;
}

}  // namespace

X11Layout X11Layout::read(const X11Connection& x) {
  X11Layout layout{.monitors = activeMonitors(x),
                   .scale = scaleFromResources(x.property(x.root(), XCB_ATOM_RESOURCE_MANAGER))};
  if (layout.monitors.empty()) {
    // The connection's own idea of the root's size is as old as the connection.
    Rect root{0, 0, static_cast<double>(x.screen().width_in_pixels),
              static_cast<double>(x.screen().height_in_pixels)};
    if (const auto geometry = x.wait(xcb_get_geometry_reply, xcb_get_geometry(x.get(), x.root())))
      root = {0, 0, static_cast<double>(geometry->width), static_cast<double>(geometry->height)};
    layout.monitors.push_back({.id = idFromName("screen"), .name = "screen", .frame = root});
  }
  return layout;
}

const X11Monitor* X11Layout::find(std::uint32_t id) const {
  const auto found = std::ranges::find(monitors, id, &X11Monitor::id);
  return found == monitors.end() ? nullptr : &*found;
}

Point X11Layout::points(Point rootPixels) const {
  return {(rootPixels.x - main().frame.x) / scale, (rootPixels.y - main().frame.y) / scale};
}

Rect X11Layout::points(Rect rootPixels) const {
  const Point origin = points(Point{rootPixels.x, rootPixels.y});
  return {origin.x, origin.y, rootPixels.width / scale, rootPixels.height / scale};
}

double scaleFromResources(std::string_view resources) {
  constexpr std::string_view key = "Xft.dpi:";
  double dpi = 96;
  while (!resources.empty()) {
    const auto end = resources.find('\n');
    const std::string_view line = resources.substr(0, end);
    if (line.starts_with(key)) dpi = std::strtod(std::string(line.substr(key.size())).c_str(), nullptr);
    resources.remove_prefix(end == std::string_view::npos ? resources.size() : end + 1);
  }
  if (!std::isfinite(dpi) || dpi <= 0) return 1;
  return std::clamp(std::round(dpi / 96 * 4) / 4, 1.0, 4.0);
}

}  // namespace quillant
