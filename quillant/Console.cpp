#include "quillant/Console.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>

namespace quillant::Console {

void print(std::string_view line) {
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);  // whoever reads a pipe has a link before the upload behind it
}

void writeError(std::string_view text) {
  while (!text.empty()) {
    const auto written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;  // nobody is left to be told
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

}  // namespace quillant::Console
