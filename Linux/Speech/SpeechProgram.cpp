#include "Linux/Speech/SpeechProgram.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "Core/FileDescriptor.h"
#include "Core/ProgramStart.h"

namespace quillant::SpeechProgram {

namespace {

constexpr std::size_t longestLine = 200;

/// Puts together lines out of what comes in pieces.
class Lines {
 public:
  explicit Lines(const std::function<void(std::string_view)>& onLine) : onLine_(onLine) {}

  void add(std::string_view text) {
    for (const char byte : text) {
      if (byte == '\n' || byte == '\r')
        end();
      else if (line_.size() < longestLine)
        line_ += byte;
    }
  }
  void end() {
    if (!line_.empty()) onLine_(line_);
    line_.clear();
  }

 private:
  const std::function<void(std::string_view)>& onLine_;
  std::string line_;
};

/// How many bytes; 0 at the end, negative if there are none for now.
ssize_t readInto(Lines& lines, int output) {
  std::array<char, 4096> buffer{};
  const auto count = ::read(output, buffer.data(), buffer.size());
  if (count > 0) lines.add({buffer.data(), static_cast<std::size_t>(count)});
  return count;
}

}  // namespace

int run(const Launch& launch) {
  const auto cannotBeStarted = [&] {
    launch.onLine(std::generic_category().message(errno));
    return 127;
  };
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) return cannotBeStarted();
  const FileDescriptor output(ends[0]);
  FileDescriptor input(ends[1]);
  ::fcntl(input.get(), F_SETFL, 0);  // it is the program's, which waits as programs do
  const FileDescriptor stopped(::eventfd(0, EFD_CLOEXEC));
  // A broken pipe ends it, even where we ignore that: should we be killed, it goes with its next line.
  const pid_t id = stopped ? ProgramStart::start(launch.command, {.error = input.get()}) : -1;
  if (id < 0) return cannotBeStarted();
  input.close();
  const rlimit size{launch.largestFile, launch.largestFile};
  ::prlimit(id, RLIMIT_FSIZE, &size, nullptr);
  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));

  Lines lines(launch.onLine);
  {
    const std::stop_callback wake(launch.stop, [&] { ::eventfd_write(stopped.get(), 1); });
    std::array<pollfd, 3> waiting{
        {{process.get(), POLLIN, 0}, {stopped.get(), POLLIN, 0}, {output.get(), POLLIN, 0}}};
    while (process && waiting[0].revents == 0 && waiting[1].revents == 0) {
      if (::poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) break;
      // What it started may hold its output open after its end, and it may close it before.
      if (waiting[2].revents != 0 && readInto(lines, output.get()) == 0) waiting[2].fd = -1;
    }
  }
  // Where it has ended itself, what it started goes all the same.
  ::kill(-id, SIGKILL);
  int status = 0;
  while (::waitpid(id, &status, 0) < 0 && errno == EINTR) {
  }
  while (readInto(lines, output.get()) > 0) {
  }
  lines.end();
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace quillant::SpeechProgram
