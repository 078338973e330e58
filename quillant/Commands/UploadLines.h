#pragma once

#include <mutex>
#include <string>

#include "QuillantCloud/UploadProgress.h"

namespace quillant {

/// The lines of an upload on standard output, and how far its files have come: on a terminal in one place,
/// elsewhere in a line each. Safe on any thread.
class UploadLines {
 public:
  UploadLines();
  explicit UploadLines(bool isTerminal) : isTerminal_(isTerminal) {}
  /// Leaves the terminal at the beginning of a line.
  ~UploadLines();
  UploadLines(const UploadLines&) = delete;
  UploadLines& operator=(const UploadLines&) = delete;

  void write(const std::string& line);
  void show(const UploadProgress& progress);

 private:
  void endOpenLine();

  bool isTerminal_;
  std::mutex mutex_;
  bool lineIsOpen_ = false;  ///< Guarded by `mutex_`.
};

}  // namespace quillant
