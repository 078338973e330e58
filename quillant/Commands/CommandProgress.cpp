#include "quillant/Commands/CommandProgress.h"

#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <unistd.h>

#include "Editor/Timeline/PlaybackTime.h"
#include "quillant/Commands/Console.h"

namespace quillant {

namespace {

/// To the line's beginning, and nothing left of what stood there.
constexpr const char* clearLine = "\r\x1b[K";
/// So many seconds tell how long the rest takes.
constexpr double firstEstimate = 1;

}  // namespace

CommandProgress::CommandProgress() : isTerminal_(::isatty(STDOUT_FILENO) == 1) {}

CommandProgress::~CommandProgress() {
  if (!isTerminal_ || shown_ < 0) return;
  std::fputs(clearLine, stdout);
  std::fflush(stdout);
}

void CommandProgress::show(double done) {
  const int step = isTerminal_ ? 1 : 10;
  const int percent = static_cast<int>(done * 100) / step * step;
  if (percent == shown_) return;
  shown_ = percent;
  if (!isTerminal_) {
    Console::print(fmt::format("  {}%", percent));
    return;
  }
  const double elapsed = std::chrono::duration<double>(Clock::now() - start_).count();
  std::string line = fmt::format("{}  {}%", clearLine, percent);
  if (elapsed >= firstEstimate && done > 0)
    line += fmt::format(", {} left", formatPlaybackTime(std::ceil(elapsed * (1 - done) / done)));
  std::fputs(line.c_str(), stdout);
  std::fflush(stdout);
}

}  // namespace quillant
