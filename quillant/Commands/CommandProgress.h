#pragma once

#include <chrono>

namespace quillant {

/// How far a command is, on standard output: on a terminal in one place and with the time left, elsewhere a
/// line for every tenth. Belongs to one thread at a time.
class CommandProgress {
 public:
  CommandProgress();
  /// Leaves the terminal at the beginning of an empty line.
  ~CommandProgress();
  CommandProgress(const CommandProgress&) = delete;
  CommandProgress& operator=(const CommandProgress&) = delete;

  /// Takes numbers from 0 to 1.
  void show(double done);

 private:
  using Clock = std::chrono::steady_clock;

  bool isTerminal_;
  Clock::time_point start_ = Clock::now();
  int shown_ = -1;  ///< Hundredths.
};

}  // namespace quillant
