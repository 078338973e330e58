#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillant {

/// A key that is pressed together with others that are held down.
struct KeyboardShortcut {
  bool control = false;
  bool alt = false;
  bool shift = false;
  bool super = false;  ///< The key with the system's sign.
  std::string key;     ///< One of `isKey`.

  /// What starts and stops a recording, unless the user has chosen another one.
  static KeyboardShortcut standard() { return {.control = true, .shift = true, .key = "R"}; }

  /// "Ctrl+Alt+Shift+Super+R", as it is shown and as it is stored.
  std::string label() const;
  /// Reads a label: names in either case and in any order, the key last. Nothing if it is none that could be
  /// used.
  static std::optional<KeyboardShortcut> parse(std::string_view label);

  /// That of a label; the standard one if there is none, or it is none that could be used.
  static KeyboardShortcut chosen(const std::optional<std::string>& label);

  /// Whether there is such a key: a letter from A to Z, a digit, "F1" to "F24", "Space", "Print", "Pause",
  /// "Insert", "Delete", "Home", "End", "Up", "Down", "Left", "Right".
  static bool isKey(std::string_view name);
  /// Whether no typing is taken away by it: a key that types or moves needs Ctrl, Alt or Super beside it.
  bool isUsable() const;

  friend bool operator==(const KeyboardShortcut&, const KeyboardShortcut&) = default;
};

}  // namespace quillant
