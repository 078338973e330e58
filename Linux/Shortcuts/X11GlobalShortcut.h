#pragma once

#include <functional>
#include <memory>
#include <string>

#include "KeyboardShortcuts/GlobalShortcutRegistering.h"

namespace quillant::X11GlobalShortcut {

/// Of the X server that `displayName` names, or DISPLAY where it is empty; one that cannot be reached has no
/// shortcut to give. `onPressed` is called on a thread of its own, once for each press, however long the key
/// is held; not any more once this is destroyed.
std::unique_ptr<GlobalShortcutRegistering> make(std::string displayName, std::function<void()> onPressed);

}  // namespace quillant::X11GlobalShortcut
