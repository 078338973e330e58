#include <gmock/gmock.h>

#include "KeyboardShortcuts/ShortcutPolicy.h"
#include "Linux/Shortcuts/X11GlobalShortcut.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

using enum ShortcutRegistration;

class X11GlobalShortcutTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display.emplace();
    shortcut = make();
  }
  std::unique_ptr<GlobalShortcutRegistering> make() {
    return X11GlobalShortcut::make(display->name(), [this] { ++presses; });
  }
  ShortcutRegistration use(const char* label) {
    return runBlocking(shortcut->registerShortcut(*KeyboardShortcut::parse(label)));
  }
  void type(const std::vector<std::string>& words) const {
    auto command = words;
    command.insert(command.begin(), "xdotool");
    ASSERT_EQ(display->run(command), 0);
  }
  /// Whether each of two presses of the keys is told, once.
  bool hears(const char* keys) {
    presses = 0;
    for (int press = 1; press <= 2; ++press) {
      type({"key", keys});
      if (!eventually([&] { return presses >= press; })) return false;
    }
    return presses == 2;
  }

  std::optional<VirtualDisplay> display;
  std::atomic<int> presses = 0;
  std::unique_ptr<GlobalShortcutRegistering> shortcut;
};

TEST_F(X11GlobalShortcutTest, HearsItsKeysWhateverIsLocked) {
  EXPECT_EQ(use("Ctrl+Shift+R"), registered);
  for (const auto* lock : {"Num_Lock", "Caps_Lock", "Num_Lock", "Caps_Lock"}) {
    EXPECT_TRUE(hears("ctrl+shift+r")) << lock;
    type({"key", lock});
  }
  // Held down it repeats for whoever types; it is one press.
  presses = 0;
  type({"keydown", "ctrl", "keydown", "shift", "keydown", "r", "sleep", "1.2", "keyup", "r", "keyup", "shift",
        "keyup", "ctrl"});
  EXPECT_TRUE(eventually([&] { return presses >= 1; }));
  EXPECT_TRUE(hears("ctrl+shift+r"));

  EXPECT_EQ(use("Alt+Super+F9"), registered);
  presses = 0;
  type({"key", "ctrl+shift+r", "key", "super+F9"});
  EXPECT_TRUE(hears("super+alt+F9"));
  // Another layout has the key somewhere else.
  EXPECT_EQ(use("Ctrl+Shift+Y"), registered);
  ASSERT_EQ(display->run({"setxkbmap", "de"}), 0);
  presses = 0;
  EXPECT_TRUE(eventually([&] {  // from when the new layout is known
    type({"key", "ctrl+shift+y", "sleep", "0.05"});
    return presses > 0;
  }));
}

TEST_F(X11GlobalShortcutTest, SaysWhenAnotherProgramHasItAndWhatIsFree) {
  const auto other = make();
  const auto taken = *KeyboardShortcut::parse("Ctrl+Shift+R");
  EXPECT_EQ(runBlocking(other->registerShortcut(taken)), registered);
  EXPECT_EQ(use("Ctrl+Alt+R"), registered);
  const auto outcome = runBlocking(ShortcutPolicy::use(*shortcut, taken));
  EXPECT_EQ(outcome.registration, ShortcutRegistration::taken);
  EXPECT_EQ(
      outcome.problem,
      "Another program uses Ctrl+Shift+R. These are free: Ctrl+Alt+R, Shift+Super+R, Ctrl+Alt+Shift+R.");
  EXPECT_EQ(outcome.proposals.size(), 3U);
  EXPECT_TRUE(hears("ctrl+alt+r"));  // what there was before stays
  const auto refused = runBlocking(ShortcutPolicy::use(*other, outcome.proposals[0]));
  EXPECT_EQ(refused.registration, ShortcutRegistration::taken);
  EXPECT_EQ(runBlocking(other->registerShortcut(outcome.proposals[1])), registered);
  EXPECT_EQ(runBlocking(ShortcutPolicy::use(*shortcut, taken)).problem, "");  // given back
  EXPECT_TRUE(hears("ctrl+shift+r"));
}

TEST_F(X11GlobalShortcutTest, HasNothingToGiveWithoutAServer) {
  EXPECT_EQ(use("Ctrl+Shift+R"), registered);
  display->kill();
  EXPECT_TRUE(eventually([&] { return use("Ctrl+Shift+T") == unavailable; }));
  const auto nowhere = X11GlobalShortcut::make(":4242", [] {});
  const auto outcome = runBlocking(ShortcutPolicy::use(*nowhere, KeyboardShortcut::standard()));
  EXPECT_EQ(outcome.problem, "Ctrl+Shift+R cannot be used here. Choose another shortcut.");
}

}  // namespace
}  // namespace quillant
