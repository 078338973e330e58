#pragma once

#include <mutex>
#include <string>

namespace quillant {

/// The lines of an upload on standard output. On a terminal the lines that only tell how far a file has come
/// take each other's place; elsewhere every line stands. Safe on any thread.
class UploadLines {
 public:
  UploadLines();
  explicit UploadLines(bool isTerminal) : isTerminal_(isTerminal) {}
  /// Leaves the terminal at the beginning of a line.
  ~UploadLines();
  UploadLines(const UploadLines&) = delete;
  UploadLines& operator=(const UploadLines&) = delete;

  void write(const std::string& line);

 private:
  void endOpenLine();

  bool isTerminal_;
  std::mutex mutex_;
  bool lineIsOpen_ = false;  ///< Guarded by `mutex_`.
};

}  // namespace quillant
