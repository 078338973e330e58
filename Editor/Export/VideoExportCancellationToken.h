#pragma once

#include <atomic>

namespace quillant {

/// Ends an export from any thread. Copies of a pointer to it are how an export and its canceller share it.
class VideoExportCancellationToken {
 public:
  void cancel() { isCancelled_ = true; }
  bool isCancelled() const { return isCancelled_; }

 private:
  std::atomic<bool> isCancelled_ = false;
};

}  // namespace quillant
