#include <gtest/gtest.h>

#include "KeyboardShortcuts/KeyboardShortcut.h"

namespace quillant {
namespace {

TEST(KeyboardShortcut, ReadsWhatItWritesAndWhatPeopleWrite) {
  EXPECT_EQ(KeyboardShortcut::standard().label(), "Ctrl+Shift+R");
  const struct {
    const char* written;
    const char* label;  ///< Null: nobody may have it.
  } cases[] = {
      {"Ctrl+Shift+R", "Ctrl+Shift+R"},
      {"shift+CTRL+r", "Ctrl+Shift+R"},
      {"super+alt+7", "Alt+Super+7"},
      {"print", "Print"},
      {"Shift+f12", "Shift+F12"},
      {"Alt+space", "Alt+Space"},
      {"Ctrl+Home", "Ctrl+Home"},
      // What types, or moves in a text, is needed for that.
      {"R", nullptr},
      {"Shift+R", nullptr},
      {"Space", nullptr},
      {"Home", nullptr},
      // No keys
      {"", nullptr},
      {"Ctrl+", nullptr},
      {"Ctrl++R", nullptr},
      {"Ctrl+Ä", nullptr},
      {"Ctrl+F25", nullptr},
      {"F", nullptr},
      {"Hyper+R", nullptr},
      {"Ctrl+Shift", nullptr},
  };
  for (const auto& [written, label] : cases) {
    const auto read = KeyboardShortcut::parse(written);
    ASSERT_EQ(read.has_value(), label != nullptr) << written;
    if (read) {
      EXPECT_EQ(read->label(), label);
    }
  }
}

}  // namespace
}  // namespace quillant
