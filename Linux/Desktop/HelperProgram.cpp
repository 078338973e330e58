#include "Linux/Desktop/HelperProgram.h"

#include <asio/experimental/awaitable_operators.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <cerrno>
#include <csignal>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "Core/FileDescriptor.h"
#include "Core/ProgramStart.h"

namespace quillant::HelperProgram {

namespace {

/// A file in memory: unlike a pipe it takes all of the input at once, whether or not anybody reads it.
FileDescriptor inputFile(const std::string& input) {
  FileDescriptor file(::memfd_create("quillant-input", MFD_CLOEXEC));
  const auto size = static_cast<ssize_t>(input.size());
  if (!file || ::pwrite(file.get(), input.data(), input.size(), 0) != size) return {};
  return file;
}

/// A descriptor that is readable once the process has ended. The library's own function is not declared for
/// C++.
int pidfdOf(pid_t id) {
  return static_cast<int>(::syscall(SYS_pidfd_open, id, 0));
}

using Process = asio::posix::stream_descriptor;

Task<> ended(std::shared_ptr<Process> process) {
  co_await process->async_wait(Process::wait_read, asio::use_awaitable);
}

Ending reap(pid_t id) {
  int status = 0;
  ::waitpid(id, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? Ending::succeeded : Ending::failed;
}

Task<> reapWhenEnded(std::shared_ptr<Process> process, pid_t id) {
  co_await ended(std::move(process));
  reap(id);
}

/// In the background: the caller's executor may be a loop that ends with the caller.
void reapLater(Process& process, pid_t id) {
  const auto strand = makeStrand();
  startDetached(strand, reapWhenEnded(std::make_shared<Process>(strand, process.release()), id));
}

}  // namespace

Task<Ending> run(Launch launch) {
  using asio::experimental::awaitable_operators::operator||;
  const auto input = inputFile(launch.input);
  const pid_t id = input ? ProgramStart::start(launch.command, {.input = input.get()}) : -1;
  if (id < 0) co_return errno == ENOENT ? Ending::missing : Ending::failed;
  const auto executor = co_await asio::this_coro::executor;
  const auto process = std::make_shared<Process>(executor, pidfdOf(id));
  const auto first = co_await (ended(process) || sleepFor(launch.timeLimit));
  if (first.index() == 0) co_return reap(id);
  if (launch.whenLate == WhenLate::kill) ::kill(id, SIGKILL);
  reapLater(*process, id);
  co_return Ending::late;
}

}  // namespace quillant::HelperProgram
