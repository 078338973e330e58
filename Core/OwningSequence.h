#pragma once

#include <thread>

#include "Core/Task.h"

namespace quillant {

/// Where an object may be used: on one thread, or on an executor that runs one thing after another. An object
/// that takes no lock holds one and asserts it, so that debug builds end at the first call from elsewhere:
///
///     assert(sequence_.isCurrent());
class OwningSequence {
 public:
  /// The thread that this is made on.
  OwningSequence() = default;
  /// The strand. Any other executor is taken for that of the thread that this is made on.
  explicit OwningSequence(Executor executor) : executor_(std::move(executor)) {}

  bool isCurrent() const;

 private:
  Executor executor_;
  std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace quillant
