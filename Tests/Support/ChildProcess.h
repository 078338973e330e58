#pragma once

#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace quillant {

/// A program that a test runs, with its input and its output, standard error included, in the test's hands.
/// It is killed with the object, and with the thread that made it.
class ChildProcess {
 public:
  using Environment = std::map<std::string, std::optional<std::string>>;

  /// `command` is found on PATH. `environment` is what differs from the test's own; no value removes a
  /// variable.
  explicit ChildProcess(const std::vector<std::string>& command, const Environment& environment = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t processID() const { return process_; }
  void write(const std::string& text);
  void closeInput();
  /// The next line of its output; nothing once that has ended, or after 20 seconds without.
  std::optional<std::string> readLine();
  /// The next line that holds `text`.
  std::optional<std::string> readLineWith(const std::string& text);
  /// The next piece of its output, which need not be whole lines; nothing where `readLine` gives nothing.
  std::string readSome();
  /// What is left of its output, once it has ended.
  std::string readAll();
  /// Waits for its end: the exit code, or the number of the signal that ended it as a negative number.
  int wait();
  void signal(int number);

 private:
  bool readMore();

  pid_t process_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
  std::optional<int> status_;
};

}  // namespace quillant
