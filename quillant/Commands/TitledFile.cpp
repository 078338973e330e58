#include "quillant/Commands/TitledFile.h"

#include <fmt/format.h>

#include "quillant/Commands/UsageError.h"

namespace quillant {

TitledFile TitledFile::parse(std::string_view command, std::string_view placeholder,
                             const std::vector<std::string>& words) {
  TitledFile result;
  for (auto word = words.begin(); word != words.end(); ++word) {
    if (*word == "--title") {
      if (++word == words.end()) throw UsageError{"--title requires a value"};
      result.title = *word;
    } else if (word->starts_with("-") || !result.file.empty()) {
      throw UsageError{fmt::format("unknown {} option {}", command, *word)};
    } else {
      result.file = *word;
    }
  }
  if (result.file.empty()) throw UsageError{fmt::format("{} requires a {}", command, placeholder)};
  return result;
}

}  // namespace quillant
