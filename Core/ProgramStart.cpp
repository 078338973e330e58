#include "Core/ProgramStart.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

namespace quillant::ProgramStart {

pid_t start(const std::vector<std::string>& command, Descriptors descriptors) {
  std::vector<char*> arguments;
  for (const auto& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  const auto give = [&](int descriptor, int as, int mode) {
    if (descriptor >= 0)
      posix_spawn_file_actions_adddup2(&files, descriptor, as);
    else
      posix_spawn_file_actions_addopen(&files, as, "/dev/null", mode, 0);
  };
  give(descriptors.input, STDIN_FILENO, O_RDONLY);
  give(-1, STDOUT_FILENO, O_WRONLY);
  give(descriptors.error, STDERR_FILENO, O_WRONLY);
  posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);

  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes, &signals);

  pid_t process = -1;
  const int error = ::posix_spawnp(&process, arguments[0], &files, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  if (error == 0) return process;
  errno = error;
  return -1;
}

}  // namespace quillant::ProgramStart
