#pragma once

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace quillant {

/// The program's name, and the words after it.
using Arguments = std::vector<std::string>;

/// A path as its user means it: from the folder in which the program was started.
inline std::filesystem::path pathArgument(const std::string& word) {
  std::error_code ignored;
  return std::filesystem::current_path(ignored) / word;
}

/// One mode of the program. The first one of a fixed chain that claims the arguments runs, to its end.
class Command {
 public:
  virtual ~Command() = default;
  virtual bool shouldRun(const Arguments& arguments) const = 0;
  /// Returns the process's exit code. On the main thread.
  virtual int run(const Arguments& arguments) = 0;

 protected:
  /// Whether the first word after the program's name is one of `words`.
  static bool claims(const Arguments& arguments, std::initializer_list<std::string_view> words) {
    return arguments.size() > 1 && std::find(words.begin(), words.end(), arguments[1]) != words.end();
  }
};

/// How the process ends.
namespace ExitCode {
inline constexpr int success = 0;
inline constexpr int usage = 64;
inline constexpr int failure = 70;
inline constexpr int noPermission = 77;
inline constexpr int interrupted = 130;  ///< By Ctrl-C, as shells say it.
}  // namespace ExitCode

}  // namespace quillant
