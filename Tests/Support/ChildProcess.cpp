#include "Tests/Support/ChildProcess.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace quillant {

namespace {

std::vector<std::string> mergedEnvironment(const ChildProcess::Environment& changes) {
  std::vector<std::string> result;
  for (char** entry = environ; *entry; ++entry) {
    const std::string variable = *entry;
    if (!changes.contains(variable.substr(0, variable.find('=')))) result.push_back(variable);
  }
  for (const auto& [name, value] : changes)
    if (value) result.push_back(name + "=" + *value);
  return result;
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (const auto& text : texts) result.push_back(const_cast<char*>(text.c_str()));
  result.push_back(nullptr);
  return result;
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const Environment& environment) {
  std::array<int, 2> output{};
  std::array<int, 2> input{};
  // A socket rather than a pipe: writing to a program that has ended must not end the test.
  if (::pipe2(output.data(), O_CLOEXEC) != 0 ||
      ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input.data()) != 0)
    throw std::runtime_error("no pipe can be made");
  const auto variables = mergedEnvironment(environment);
  const auto environmentPointers = pointers(variables);
  const auto arguments = pointers(command);
  process_ = ::fork();
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(input[0], STDIN_FILENO);
    ::dup2(output[1], STDOUT_FILENO);
    ::dup2(output[1], STDERR_FILENO);
    ::execvpe(arguments[0], arguments.data(), environmentPointers.data());
    ::_exit(127);
  }
  ::close(input[0]);
  ::close(output[1]);
  input_ = input[1];
  output_ = output[0];
}

ChildProcess::~ChildProcess() {
  if (!status_) signal(SIGKILL);
  wait();
  closeInput();
  ::close(output_);
}

void ChildProcess::write(const std::string& text) {
  ::send(input_, text.data(), text.size(), MSG_NOSIGNAL);
}

void ChildProcess::closeInput() {
  if (input_ >= 0) ::close(std::exchange(input_, -1));
}

bool ChildProcess::readMore() {
  constexpr int deadlineMilliseconds = 20'000;
  pollfd waiting{output_, POLLIN, 0};
  if (::poll(&waiting, 1, deadlineMilliseconds) <= 0) return false;
  std::array<char, 4096> buffer{};
  const auto count = ::read(output_, buffer.data(), buffer.size());
  if (count <= 0) return false;
  unread_.append(buffer.data(), static_cast<std::size_t>(count));
  return true;
}

std::optional<std::string> ChildProcess::readLine() {
  while (unread_.find('\n') == std::string::npos)
    if (!readMore()) return std::nullopt;
  const auto end = unread_.find('\n');
  auto line = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  return line;
}

std::optional<std::string> ChildProcess::readLineWith(const std::string& text) {
  auto line = readLine();
  while (line && line->find(text) == std::string::npos) line = readLine();
  return line;
}

std::string ChildProcess::readSome() {
  readMore();
  return std::exchange(unread_, {});
}

std::string ChildProcess::readAll() {
  while (readMore()) {
  }
  wait();
  return std::exchange(unread_, {});
}

int ChildProcess::wait() {
  if (!status_) {
    int status = 0;
    ::waitpid(process_, &status, 0);
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  return *status_;
}

void ChildProcess::signal(int number) {
  if (!status_) ::kill(process_, number);
}

}  // namespace quillant
