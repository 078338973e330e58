#include "quillant/Commands/UploadLines.h"

#include <cstdio>
#include <unistd.h>

#include "QuillantCloud/Uploader.h"
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
  if (isTerminal_ && Uploader::isProgressLine(line)) {
    std::fputs((clearLine + line).c_str(), stdout);
    std::fflush(stdout);
    lineIsOpen_ = true;
    return;
  }
  endOpenLine();
  Console::print(line);
}

void UploadLines::endOpenLine() {
  if (lineIsOpen_) Console::print("");
  lineIsOpen_ = false;
}

}  // namespace quillant
