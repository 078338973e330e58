#include "Linux/Desktop/DesktopClipboard.h"
#include "Linux/Desktop/HelperProgram.h"
#include "Tests/Linux/Desktop/DesktopTest.h"
#include "Tests/Support/ChildProcess.h"
#include "Tests/Support/Eventually.h"
#include "Tests/Support/VirtualDisplay.h"

namespace quillant {
namespace {

using HelperProgram::Ending;
using std::chrono::milliseconds;

class DesktopClipboardTest : public DesktopTest {};
class HelperProgramTest : public DesktopTest {};

TEST_F(DesktopClipboardTest, LeavesTheTextOnTheXClipboard) {
  if (!VirtualDisplay::isAvailable()) GTEST_SKIP() << "no Xvfb";
  const VirtualDisplay display;
  set("DISPLAY", display.name());
  for (const auto& text : {std::string("https://x/v/1 $(id) “ü”\nend"), std::string(1 << 20, 'x')}) {
    EXPECT_TRUE(runBlocking(DesktopClipboard::make()->write(text)));
    // xclip has gone to the background before the server knows of it.
    EXPECT_TRUE(eventually([&] {
      return ChildProcess({"xclip", "-selection", "clipboard", "-out"}).readAll() == text;
    }));
  }
}

TEST_F(DesktopClipboardTest, AsksTheDisplayServerThatIsThere) {
  addProgram("wl-copy", "cat >> $HOME/wayland; [ $XDG_CURRENT_DESKTOP = works ]");
  addProgram("xclip", "cat >> $HOME/x");
  const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
      {"", "", "", "0||"},
      {"", ":0", "", "1||link"},
      {"wayland-0", "", "works", "1|link|"},
      {"wayland-0", ":0", "fails", "1|link|link"},
  };
  for (const auto& [wayland, x, compositor, expected] : cases) {
    set("WAYLAND_DISPLAY", wayland);
    set("DISPLAY", x);
    set("XDG_CURRENT_DESKTOP", compositor);
    const bool written = runBlocking(DesktopClipboard::make()->write("link"));
    EXPECT_EQ((written ? "1|" : "0|") + taken("wayland") + "|" + taken("x"), expected);
  }
}

TEST_F(HelperProgramTest, TellsHowAProgramEnds) {
  addProgram(
      "shows",
      R"(printf '%s|' "$@" > $HOME/words; cat >> $HOME/words; ls /proc/self/fd | wc -l > $HOME/files)");
  addProgram("browser", "while [ ! -e $HOME/closed ]; do sleep 0.01; done; touch $HOME/ended");
  const std::pair<HelperProgram::Launch, Ending> cases[] = {
      {{.command = {"shows", "$(id)", "a b"}, .input = "input"}, Ending::succeeded},
      {{.command = {"false"}}, Ending::failed},
      {{.command = {"no-such-program-anywhere"}}, Ending::missing},
      {{.command = {"sleep", "1000"}, .timeLimit = milliseconds(50)}, Ending::late},
      {{.command = {"browser"}, .timeLimit = milliseconds(50), .whenLate = HelperProgram::WhenLate::letRun},
       Ending::late},
  };
  for (const auto& [launch, expected] : cases)
    EXPECT_EQ(runBlocking(HelperProgram::run(launch), makeStrand()), expected) << launch.command.front();
  EXPECT_EQ(taken("words"), "$(id)|a b|input");
  EXPECT_EQ(taken("files"), "4\n") << "the three, and the folder that is listed";
  std::ofstream(home / "closed").close();
  EXPECT_TRUE(eventually([&] { return std::filesystem::exists(home / "ended"); }))
      << "it was started to go on";
}

}  // namespace
}  // namespace quillant
