#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "Core/Task.h"

/// The desktop's own small programs, run without a shell.
namespace quillant::HelperProgram {

enum class Ending {
  succeeded,
  failed,   ///< Another exit code than 0, or a signal.
  missing,  ///< There is no such program.
  late,     ///< Still running when its time was over.
};

enum class WhenLate {
  kill,
  letRun,  ///< It was started to go on, as a browser that is opened in the foreground does.
};

struct Launch {
  std::vector<std::string> command;  ///< The program, found on PATH, and its arguments.
  std::string input;                 ///< What it reads from its standard input.
  std::chrono::milliseconds timeLimit = std::chrono::seconds(5);
  WhenLate whenLate = WhenLate::kill;
};

/// Starts the program in a session of its own, so that it outlives this one and its terminal's signals, and
/// waits for its end. Its output goes nowhere. Await it on a strand.
Task<Ending> run(Launch launch);

}  // namespace quillant::HelperProgram
