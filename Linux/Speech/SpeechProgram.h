#pragma once

#include <cstdint>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

/// A program that works on sound for minutes.
namespace quillant::SpeechProgram {

struct Launch {
  std::vector<std::string> command;                   ///< The program, found on PATH, and its arguments.
  std::function<void(std::string_view line)> onLine;  ///< What it says on its standard error; long lines cut.
  std::uint64_t largestFile = 0;                      ///< Bytes; it is ended when it writes a larger one.
  std::stop_token stop;
};

/// Runs the program to its end, without a shell, an input, or a standard output. Blocking. It is killed when
/// it is stopped, and nothing that it has started outlives it. Returns its exit code, or the number of the
/// signal that ended it as a negative number; where it cannot be started, a line says why, and it is 127.
int run(const Launch& launch);

}  // namespace quillant::SpeechProgram
