#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace quillant::ProgramStart {

/// What the program gets; /dev/null where there is none (-1).
struct Descriptors {
  int input = -1;
  int error = -1;
};

/// Starts a program, found on PATH, without a shell and a standard output. It leads a session of its own, so
/// that no signal of our terminal reaches it and one kill reaches all of it; it ignores and blocks no signal,
/// and gets no other descriptor. Returns the process, or -1 and `errno`.
pid_t start(const std::vector<std::string>& command, Descriptors descriptors);

}  // namespace quillant::ProgramStart
