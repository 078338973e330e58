#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Core/Geometry.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

struct X11Monitor {
  std::uint32_t id = 0;  ///< From the name, so that it survives a reboot; never 0.
  std::string name;
  Rect frame;  ///< Whole pixels of the root window.
  friend bool operator==(const X11Monitor&, const X11Monitor&) = default;
};

/// How the desktop is laid out, and the one mapping between its two coordinate systems: pixels of the root
/// window (what the server counts in), and global points with the origin at the top left of the main monitor
/// (what the rest of the program counts in). Both count downwards.
struct X11Layout {
  std::vector<X11Monitor> monitors;  ///< Never empty; the main one is first.
  double scale = 1;                  ///< Pixels a point, the same on every monitor.

  /// Blocking; cheap enough to be asked for whenever it is needed.
  static X11Layout read(const X11Connection& connection);

  const X11Monitor& main() const { return monitors.front(); }
  const X11Monitor* find(std::uint32_t id) const;
  Point points(Point rootPixels) const;
  Rect points(Rect rootPixels) const;

  friend bool operator==(const X11Layout&, const X11Layout&) = default;
};

/// The scale that the resource database of a root window asks for: `Xft.dpi` over 96, to the nearest quarter,
/// from 1 to 4; 1 where it says nothing usable.
double scaleFromResources(std::string_view resources);

}  // namespace quillant
