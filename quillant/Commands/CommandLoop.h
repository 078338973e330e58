#pragma once

#include <asio/io_context.hpp>
#include <functional>

#include "Core/Task.h"

namespace quillant {

/// What a command's main thread runs, for what belongs to one thread.
class CommandLoop {
 public:
  Executor executor() { return loop_.get_executor(); }

  /// Runs `task` on this thread until it has ended, and returns the exit code that it gives. An interrupt or
  /// a request to end calls `onInterrupt` on this thread; without one it cancels the task.
  int run(Task<int> task, std::function<void()> onInterrupt = {});

 private:
  asio::io_context loop_{1};
};

}  // namespace quillant
