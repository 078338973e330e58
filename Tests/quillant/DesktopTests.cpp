#include <fstream>
#include <gmock/gmock.h>
#include <optional>
#include <thread>

#include "Editor/Project/ProjectStore.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"
#include "Tests/quillant/QuillantRun.h"

namespace quillant {
namespace {

/// A user's session on a screen of its own, without a tray and without sound.
class DesktopTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
    display.emplace(640, 480);
    for (const auto* name : {"bin", "run", "config"}) std::filesystem::create_directory(home / name);
    // What would show a folder.
    std::ofstream(home / "bin" / "xdg-open") << "#!/bin/sh\necho \"$1\" >> \"$HOME/shown\"\n";
    std::filesystem::permissions(home / "bin" / "xdg-open", std::filesystem::perms(0755));
    std::filesystem::create_directory(home / "config" / "Quillant");
    std::ofstream(home / "config" / "Quillant" / "preferences.json")
        << R"({"com.quillant.pref.countdown": "off"})";
  }

  QuillantRun start(const std::vector<std::string>& words = {}) const {
    return QuillantRun(words, {{"DISPLAY", display->name()},
                               {"WAYLAND_DISPLAY", ""},
                               {"DBUS_SESSION_BUS_ADDRESS", ""},
                               {"PULSE_SERVER", "unix:/nowhere"},
                               {"QUILLANT_CAMERA", "nowhere"},
                               {"HOME", home.path().string()},
                               {"XDG_DATA_HOME", (home / "data").string()},
                               {"XDG_CONFIG_HOME", (home / "config").string()},
                               {"XDG_RUNTIME_DIR", (home / "run").string()},
                               {"PATH", (home / "bin").string() + ":/usr/bin:/bin"}});
  }
  void press() const { ASSERT_EQ(display->run({"xdotool", "key", "ctrl+shift+r"}), 0); }
  /// How many files of an ending lie among the recordings.
  int files(const std::string& ending) const {
    int count = 0;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(home / "Videos" / "Quillant", ignored))
      if (entry.path().extension() == ending) ++count;
    return count;
  }
  std::vector<ProjectStore::ProjectListItem> projects() const {
    for (const auto& scope : {"projects-dev", "projects-prod"})
      if (const auto folder = home / "data" / "Quillant" / scope; std::filesystem::exists(folder))
        return ProjectStore{folder}.projects();
    return {};
  }
  /// Until its shortcut is there, and a press makes a recording.
  [[nodiscard]] bool record() const {
    return eventually([&] {
      if (files(".recording") > 0) return true;
      press();
      return eventuallyWithin(std::chrono::milliseconds(700), [&] { return files(".recording") > 0; });
    });
  }
  template <class Condition>
  static bool eventuallyWithin(std::chrono::milliseconds time, const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
  }

  TemporaryFolder home;
  std::optional<VirtualDisplay> display;
};

TEST_F(DesktopTest, RecordsFromPressToPressAndMakesAProject) {
  auto first = start();
  ASSERT_TRUE(record());
  // Another start finds this one, and ends.
  EXPECT_EQ(start().wait().exitCode, 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // something to record
  press();
  ASSERT_TRUE(eventually([&] { return !projects().empty(); }));
  EXPECT_EQ(projects()[0].title, "Recording");
  EXPECT_EQ(projects()[0].interruptedCause, std::nullopt);
  EXPECT_EQ(files(".mp4"), 1);
  EXPECT_EQ(files(".recording"), 0);
  EXPECT_TRUE(eventually([&] { return std::filesystem::exists(home / "shown"); }));
  first.kill();
  first.wait();
}

TEST_F(DesktopTest, MakesAProjectAtTheNextStartOfWhatAKilledOneRecorded) {
  auto killed = start();
  ASSERT_TRUE(record());
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));  // the first fragments reach the disk
  killed.kill();
  killed.wait();
  EXPECT_EQ(files(".recording"), 1);
  auto next = start();
  ASSERT_TRUE(eventually([&] { return !projects().empty(); }));
  EXPECT_EQ(projects()[0].interruptedCause, "recording stopped unexpectedly");
  next.kill();
  next.wait();
}

}  // namespace
}  // namespace quillant
