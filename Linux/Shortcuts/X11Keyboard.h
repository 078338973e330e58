#pragma once

#include <cstdint>
#include <initializer_list>
#include <vector>

#include "KeyboardShortcuts/KeyboardShortcut.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// The keyboard as an X server has it at one moment.
class X11Keyboard {
 public:
  /// Blocking.
  explicit X11Keyboard(const X11Connection& connection);

  /// The keys that a shortcut's key stands for, in whichever layout of those that are set; empty if there is
  /// none.
  std::vector<xcb_keycode_t> keys(const KeyboardShortcut& shortcut) const;
  std::uint16_t modifiers(const KeyboardShortcut& shortcut) const;
  /// Every combination of the keys that lock, none included.
  std::vector<std::uint16_t> locks() const;

 private:
  std::vector<xcb_keycode_t> keysOf(xcb_keysym_t symbol) const;
  /// The bit of the modifier that one of the keys with these symbols is, 0 if none is.
  std::uint16_t modifierOf(std::initializer_list<xcb_keysym_t> symbols) const;

  xcb_keycode_t firstKey_ = 0;
  std::size_t symbolsPerKey_ = 0;
  std::vector<xcb_keysym_t> symbols_;
  std::size_t keysPerModifier_ = 0;
  std::vector<xcb_keycode_t> modifierKeys_;
};

}  // namespace quillant
