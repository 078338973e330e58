#pragma once

#include <mutex>
#include <utility>

namespace quillant {

/// What a user of the shared camera holds, and gives back once.
class CameraConsumerToken {
 public:
  enum class Kind { preview, recorder };

  explicit CameraConsumerToken(Kind kind) : kind_(kind) {}
  Kind kind() const { return kind_; }
  /// True for the first call only; any thread.
  bool takeLive() {
    const std::lock_guard lock(lock_);
    return std::exchange(live_, false);
  }

 private:
  Kind kind_;
  std::mutex lock_;
  bool live_ = true;
};

}  // namespace quillant
