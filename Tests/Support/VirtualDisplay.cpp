#include "Tests/Support/VirtualDisplay.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillant {

namespace {

/// Forks and becomes `command`, with `displayName` as DISPLAY if it is not empty.
pid_t spawn(const std::vector<std::string>& command, const std::string& displayName) {
  std::vector<char*> arguments;
  for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  const std::string display = "DISPLAY=" + displayName;
  std::vector<char*> environment;
  for (char** entry = environ; *entry; ++entry)
    if (displayName.empty() || !std::string_view(*entry).starts_with("DISPLAY="))
      environment.push_back(*entry);
  if (!displayName.empty()) environment.push_back(const_cast<char*>(display.c_str()));
  environment.push_back(nullptr);

  const pid_t child = ::fork();
  if (child == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execvpe(arguments[0], arguments.data(), environment.data());
    ::_exit(127);
  }
  return child;
}

/// What the server writes to `-displayfd` once it accepts clients; empty if it ends or takes too long.
std::string readDisplayNumber(int descriptor) {
  std::string number;
  std::array<char, 16> buffer{};
  constexpr int deadlineMilliseconds = 20'000;
  pollfd waiting{descriptor, POLLIN, 0};
  while (!number.ends_with('\n')) {
    if (::poll(&waiting, 1, deadlineMilliseconds) <= 0) return {};
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    if (count <= 0) return {};
    number.append(buffer.data(), static_cast<std::size_t>(count));
  }
  number.pop_back();
  return number;
}

}  // namespace

VirtualDisplay::VirtualDisplay(int width, int height, const std::vector<std::string>& arguments) {
  std::array<int, 2> channel{};
  if (::pipe(channel.data()) != 0) throw std::runtime_error("no pipe can be made");
  // Without -noreset the monitors that a test defines vanish with its last client.
  std::vector<std::string> command{
      "Xvfb",      "-displayfd", std::to_string(channel[1]),
      "-screen",   "0",          std::to_string(width) + "x" + std::to_string(height) + "x24",
      "-dpi",      "96",         "-noreset",
      "-nolisten", "tcp"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  process_ = spawn(command, {});
  ::close(channel[1]);
  const std::string number = readDisplayNumber(channel[0]);
  ::close(channel[0]);
  if (number.empty()) {
    end(SIGKILL);
    throw std::runtime_error("Xvfb does not start");
  }
  name_ = ":" + number;
}

VirtualDisplay::~VirtualDisplay() {
  end(SIGTERM);
}

bool VirtualDisplay::isAvailable() {
  const char* path = std::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): nothing sets it.
  std::istringstream folders(path ? path : "");
  for (std::string folder; std::getline(folders, folder, ':');)
    if (::access((std::filesystem::path(folder) / "Xvfb").c_str(), X_OK) == 0) return true;
  return false;
}

int VirtualDisplay::run(const std::vector<std::string>& command) const {
  int status = 0;
  ::waitpid(spawn(command, name_), &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void VirtualDisplay::kill() {
  end(SIGKILL);
}

void VirtualDisplay::end(int signal) {
  if (process_ <= 0) return;
  ::kill(process_, signal);
  ::waitpid(process_, nullptr, 0);
  process_ = -1;
  if (signal != SIGKILL || name_.empty()) return;
  // A server that is killed leaves what tells others that its number is taken.
  std::error_code ignored;
  const std::string number = name_.substr(1);
  std::filesystem::remove("/tmp/.X" + number + "-lock", ignored);
  std::filesystem::remove("/tmp/.X11-unix/X" + number, ignored);
}

}  // namespace quillant
