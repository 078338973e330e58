#include "quillant/Commands/Console.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace quillant::Console {

namespace {

/// Whether a character that steers terminals begins here: a line's end and a tab do no harm.
bool isControl(std::string_view text) {
  const auto byte = static_cast<unsigned char>(text[0]);
  if (byte < 0x20 || byte == 0x7F) return byte != '\n' && byte != '\t';
  return byte == 0xC2 && text.size() > 1 && static_cast<unsigned char>(text[1]) < 0xA0;
}

/// Parts of what is shown come from servers, and from the names of files.
std::string withoutControls(std::string_view text) {
  constexpr std::string_view replacement = "�";
  std::string result;
  for (std::size_t index = 0; index < text.size(); ++index) {
    const bool control = isControl(text.substr(index));
    control ? result += replacement : result += text[index];
    if (control && text[index] == '\xC2') ++index;
  }
  return result;
}

}  // namespace

void print(std::string_view line) {
  const auto whole = withoutControls(line) + '\n';
  std::fwrite(whole.data(), 1, whole.size(), stdout);
  std::fflush(stdout);  // whoever reads a pipe has a link before the upload behind it
}

void writeError(std::string_view message) {
  const auto whole = withoutControls(message);
  std::string_view text = whole;
  while (!text.empty()) {
    const auto written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;  // nobody is left to be told
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

void tell(std::string_view text) {
  writeError("quillant: " + std::string(text) + "\n");
}

}  // namespace quillant::Console
