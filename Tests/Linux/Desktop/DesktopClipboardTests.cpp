#include "Linux/Desktop/DesktopClipboard.h"
#include "Linux/Desktop/HelperProgram.h"
#include "Tests/Linux/Desktop/DesktopTest.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

class DesktopClipboardTest : public DesktopTest {};
class HelperProgramTest : public DesktopTest {};

TEST_F(DesktopClipboardTest, LeavesTheTextOnTheXClipboard) {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  const VirtualDisplay display;
  set("DISPLAY", display.name());
  for (const std::string& text :
       {std::string("https://example.com/v/1 $(id) “ü”\nend"), std::string(1 << 20, 'x')}) {
    EXPECT_TRUE(runBlocking(DesktopClipboard::make()->write(text)));
    // xclip has gone to the background before the server knows of it.
    EXPECT_TRUE(eventually([&] {
      return ChildProcess({"xclip", "-selection", "clipboard", "-out"}).readAll() == text;
    }));
  }
}

TEST_F(DesktopClipboardTest, AsksTheDisplayServerThatIsThere) {
  addProgram("wl-copy", "cat > $HOME/wayland; exit $(cat $HOME/fails)");
  addProgram("xclip", "cat > $HOME/x");
  struct Case {
    std::string wayland, x, waylandExit;
    bool written;
    std::string onWayland, onX;
  };
  for (const auto& each :
       {Case{"", "", "0", false, "", ""}, Case{"", ":0", "0", true, "", "link"},
        Case{"wayland-0", "", "0", true, "link", ""}, Case{"wayland-0", ":0", "1", true, "link", "link"}}) {
    set("WAYLAND_DISPLAY", each.wayland);
    set("DISPLAY", each.x);
    std::ofstream(home / "fails") << each.waylandExit;
    std::filesystem::remove(home / "wayland");
    std::filesystem::remove(home / "x");
    EXPECT_EQ(runBlocking(DesktopClipboard::make()->write("link")), each.written);
    EXPECT_EQ(contents(home / "wayland"), each.onWayland);
    EXPECT_EQ(contents(home / "x"), each.onX);
  }
}

TEST_F(HelperProgramTest, TellsHowAProgramEnds) {
  using HelperProgram::Ending;
  using std::chrono::milliseconds;
  addProgram(
      "shows",
      R"(printf '%s|' "$@" > $HOME/words; cat >> $HOME/words; ls /proc/self/fd | wc -l > $HOME/files)");
  const std::pair<HelperProgram::Launch, Ending> cases[] = {
      {{.command = {"shows", "$(id)", "a b"}, .input = "input"}, Ending::succeeded},
      {{.command = {"false"}}, Ending::failed},
      {{.command = {"no-such-program-anywhere"}}, Ending::missing},
      {{.command = {"sleep", "1000"}, .timeLimit = milliseconds(50)}, Ending::late},
  };
  for (const auto& [launch, expected] : cases)
    EXPECT_EQ(runBlocking(HelperProgram::run(launch)), expected) << launch.command.front();
  EXPECT_EQ(contents(home / "words"), "$(id)|a b|input");
  EXPECT_EQ(contents(home / "files"), "4\n");  // the three, and the folder that is listed
}

TEST_F(HelperProgramTest, LetsAProgramGoOnThatWasStartedTo) {
  addProgram("browser", "while [ ! -e $HOME/closed ]; do sleep 0.01; done; touch $HOME/ended");
  const HelperProgram::Launch launch{.command = {"browser"},
                                     .timeLimit = std::chrono::milliseconds(50),
                                     .whenLate = HelperProgram::WhenLate::letRun};
  EXPECT_EQ(runBlocking(HelperProgram::run(launch)), HelperProgram::Ending::late);
  std::ofstream(home / "closed").close();
  EXPECT_TRUE(eventually([&] { return std::filesystem::exists(home / "ended"); }));
}

}  // namespace
}  // namespace quillant
