#include "quillant/Commands/TerminalSignIn.h"

#include <array>
#include <cerrno>
#include <fmt/format.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <termios.h>
#include <thread>
#include <utility>

#include "Core/FileDescriptor.h"
#include "Core/Text.h"
#include "quillant/Commands/Console.h"

namespace quillant {

namespace {

constexpr std::size_t longestLine = std::size_t{1} << 16;

/// Keeps what is typed from being shown, where the input is a terminal.
class HiddenInput {
 public:
  explicit HiddenInput(int input) : input_(input), isTerminal_(::tcgetattr(input, &before_) == 0) {
    if (!isTerminal_) return;
    auto hidden = before_;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    ::tcsetattr(input_, TCSADRAIN, &hidden);
  }
  ~HiddenInput() {
    if (isTerminal_) ::tcsetattr(input_, TCSADRAIN, &before_);
    Console::writeError("\n");  // the one that was typed was hidden too
  }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  int input_;
  termios before_{};
  bool isTerminal_;
};

/// Reads one line on a thread of its own, which leaves the terminal in its mode and can be stopped at any
/// time.
class LineReader {
 public:
  using Done = Continuation<std::string>;

  LineReader(int input, Done done)
      : input_(input), stop_(::eventfd(0, EFD_CLOEXEC)), thread_([this, done] { done.resume(read()); }) {}
  ~LineReader() {
    ::eventfd_write(stop_.get(), 1);
    thread_.join();
  }
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

 private:
  /// What came before the end of the line or of the input.
  std::string read() const {
    std::string line;
    while (line.size() < longestLine && waitForInput()) {
      char character = 0;
      const auto count = ::read(input_, &character, 1);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0 || character == '\n') break;
      line += character;
    }
    return line;
  }

  /// False once the reader is stopped.
  bool waitForInput() const {
    std::array<pollfd, 2> waits{pollfd{input_, POLLIN, 0}, pollfd{stop_.get(), POLLIN, 0}};
    while (::poll(waits.data(), waits.size(), -1) < 0)
      if (errno != EINTR) return false;
    return waits[1].revents == 0;
  }

  int input_;
  FileDescriptor stop_;
  std::thread thread_;  ///< The last member: it reads the others.
};

}  // namespace

Task<std::optional<std::string>> TerminalSignIn::authenticate(std::string url, std::string callbackScheme) {
  const bool opened = browser_ == Browser::opened;
  Console::writeError(
      fmt::format("{} and sign in:\n\n  {}\n\n{} paste the address that it leads to ({}://…): ",
                  opened ? "A browser opens this page. Go there" : "Open this page in a browser", url,
                  opened ? "If it does not come back by itself," : "Then", callbackScheme));
  std::string line;
  try {
    const LineReader::Done done(co_await asio::this_coro::executor);
    const HiddenInput hidden(input_);
    const LineReader reader(input_, done);
    line = co_await done.wait();
  } catch (const std::system_error&) {
    // The wait was cancelled: no line, as if the user had given up at the prompt.
  }
  const auto callback = Text::trimmed(line);
  if (callback.empty())
    throw WebAuthenticationError(WebAuthenticationError::Kind::cancelled, "no address was pasted");
  co_return std::string(callback);
}

}  // namespace quillant
