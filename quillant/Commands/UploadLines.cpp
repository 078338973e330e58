#include "quillant/Commands/UploadLines.h"

#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

#include "quillant/Commands/Console.h"

namespace quillant {

namespace {

/// To the line's beginning, and nothing left of what stood there.
constexpr const char* clearLine = "\r\x1b[K";

}  // namespace

UploadLines::UploadLines() : UploadLines(::isatty(STDOUT_FILENO) == 1) {}

UploadLines::~UploadLines() {
  const std::lock_guard lock(mutex_);
  endOpenLine();
}

void UploadLines::write(const std::string& line) {
  const std::lock_guard lock(mutex_);
  endOpenLine();
  Console::print(line);
}

void UploadLines::show(const UploadProgress& progress) {
  // An end is reported by whoever awaits it, a beginning by a line of its own.
  if (progress.failure || progress.cancelled || progress.fraction <= 0) return;
  const auto line =
      fmt::format("  {} {}%", rawText(progress.phase), static_cast<int>(progress.fraction * 100));
  const std::lock_guard lock(mutex_);
  if (!isTerminal_) {
    Console::print(line);
    return;
  }
  std::fputs((clearLine + line).c_str(), stdout);
  std::fflush(stdout);
  lineIsOpen_ = true;
}

void UploadLines::endOpenLine() {
  if (lineIsOpen_) Console::print("");
  lineIsOpen_ = false;
}

}  // namespace quillant
