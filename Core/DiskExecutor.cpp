#include "Core/DiskExecutor.h"

#include <asio/thread_pool.hpp>

namespace quillant {

Executor diskExecutor() {
  // More threads than processors: they wait most of the time. Never destroyed, like the background threads.
  constexpr std::size_t threads = 4;
  static auto& pool = *new asio::thread_pool(threads);
  return pool.get_executor();
}

}  // namespace quillant
