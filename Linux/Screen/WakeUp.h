#pragma once

namespace quillant {

/// Ends the wait of a thread that polls on descriptors.
class WakeUp {
 public:
  /// Throws std::system_error.
  WakeUp();
  ~WakeUp();
  WakeUp(const WakeUp&) = delete;
  WakeUp& operator=(const WakeUp&) = delete;

  void signal() const;  ///< Any thread; signals that nobody has seen yet count as one.
  void clear() const;   ///< The waiting thread.
  int descriptor() const { return descriptor_; }  ///< Readable while a signal has not been cleared.

 private:
  int descriptor_;
};

}  // namespace quillant
