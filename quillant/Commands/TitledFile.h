#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillant {

/// A file and what it is to be called: the words of commands that take one video.
struct TitledFile {
  std::string file;
  std::optional<std::string> title;

  /// Understands "[--title <text>] <file>" in any order. `placeholder` is what the command calls the file.
  /// Throws `UsageError`.
  static TitledFile parse(std::string_view command, std::string_view placeholder,
                          const std::vector<std::string>& words);
};

}  // namespace quillant
