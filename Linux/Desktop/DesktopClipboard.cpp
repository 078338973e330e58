#include "Linux/Desktop/DesktopClipboard.h"

#include <utility>
#include <vector>

#include "Linux/Desktop/DesktopSession.h"
#include "Linux/Desktop/HelperProgram.h"

namespace quillant {

namespace {

class Clipboard : public ClipboardWriting {
 public:
  Task<bool> write(std::string text) override { return runOn(makeStrand(), offer(std::move(text))); }

 private:
  using Command = std::vector<std::string>;

  static Task<bool> offer(std::string text) {
    using DesktopSession::DisplayServer;
    const auto server = DesktopSession::displayServer();
    bool offered = false;
    if (server == DisplayServer::wayland) offered = co_await offer(waylandProgram(), text);
    // On Wayland too: most of its compositors share the clipboard with the X programs they host.
    if (!offered && server != DisplayServer::none) offered = co_await offer(xProgram(), text);
    co_return offered;
  }

  static Command waylandProgram() { return {"wl-copy"}; }
  static Command xProgram() { return {"xclip", "-selection", "clipboard", "-in"}; }

  static Task<bool> offer(Command command, std::string text) {
    HelperProgram::Launch launch;
    launch.command = std::move(command);
    launch.input = std::move(text);
    const auto ending = co_await HelperProgram::run(std::move(launch));
    co_return ending == HelperProgram::Ending::succeeded;
  }
};

}  // namespace

std::unique_ptr<ClipboardWriting> DesktopClipboard::make() {
  return std::make_unique<Clipboard>();
}

}  // namespace quillant
