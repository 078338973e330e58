#pragma once

#include <algorithm>
#include <array>
#include <string_view>

/// The programs whose windows are the desktop itself, by the id of `WindowInfo::appID`: the one list of them.
namespace quillant::SystemApplications {

/// This program's own id.
inline constexpr std::string_view ownID = "quillant";

inline constexpr std::array<std::string_view, 22> ids{
    // Panels and shells
    "gnome-shell", "plasmashell", "xfce4-panel", "mate-panel", "lxqt-panel", "lxpanel", "cinnamon",
    "budgie-panel", "tint2", "polybar", "plank", "latte-dock",
    // Wallpapers and the icons on them
    "xfdesktop", "pcmanfm-desktop", "caja-desktop", "nemo-desktop", "conky",
    // Notes, launchers and the session's own pictures of the screen
    "dunst", "notify-osd", "xfce4-notifyd", "krunner", "rofi"};

constexpr bool contains(std::string_view appID) {
  return std::ranges::find(ids, appID) != ids.end();
}

}  // namespace quillant::SystemApplications
