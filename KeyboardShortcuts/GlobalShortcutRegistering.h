#pragma once

#include "Core/Task.h"
#include "KeyboardShortcuts/KeyboardShortcut.h"

namespace quillant {

enum class ShortcutRegistration {
  registered,
  taken,        ///< Another program has it.
  unavailable,  ///< No key of the keyboard is it, or the desktop gives none away.
};

/// Has the desktop say when a shortcut is pressed, whichever program is in front. Neither call holds up the
/// thread that it is awaited on, and neither throws.
class GlobalShortcutRegistering {
 public:
  virtual ~GlobalShortcutRegistering() = default;
  /// In the place of the one registered before, which stays if this one cannot be had.
  virtual Task<ShortcutRegistration> registerShortcut(KeyboardShortcut shortcut) = 0;
  /// Whether it could be registered; nothing changes.
  virtual Task<bool> isFree(KeyboardShortcut shortcut) = 0;
};

}  // namespace quillant
