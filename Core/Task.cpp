#include "Core/Task.h"

#include <algorithm>
#include <asio/thread_pool.hpp>
#include <thread>

namespace quillant {

Executor backgroundExecutor() {
  // Never destroyed: a detached task may still run while the process ends.
  static auto& pool = *new asio::thread_pool(std::max(4U, std::thread::hardware_concurrency()));
  return pool.get_executor();
}

Executor makeStrand() {
  return asio::make_strand(backgroundExecutor());
}

Task<bool> sleepFor(std::chrono::nanoseconds duration) {
  asio::steady_timer timer(co_await asio::this_coro::executor);
  const auto now = std::chrono::steady_clock::now();
  const auto longest = asio::steady_timer::time_point::max() - now;
  timer.expires_at(now + std::min<std::chrono::nanoseconds>(duration, longest));
  std::error_code error;
  co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, error));
  co_return !error;
}

Task<bool> sleepSeconds(double seconds) {
  constexpr double longest = 9.2e9;  // just under 2^63 nanoseconds
  const double bounded = seconds > longest ? longest : (seconds > 0 ? seconds : 0);
  co_return co_await sleepFor(std::chrono::nanoseconds(static_cast<std::int64_t>(bounded * 1e9)));
}

}  // namespace quillant
