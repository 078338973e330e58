#pragma once

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/co_spawn.hpp>
#include <asio/detached.hpp>
#include <asio/post.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>
#include <asio/this_coro.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillant {

/// An asynchronous operation: it starts when awaited and runs on the executor it was started on.
template <class T = void>
using Task = asio::awaitable<T>;

using Executor = asio::any_io_executor;

/// The threads for work that waits for no one in particular. They last as long as the process.
Executor backgroundExecutor();

/// An executor on which work runs one after another, though on any of the background threads: what an actor
/// runs its operations on.
Executor makeStrand();

/// Runs `task` on `executor`, whichever executor the awaiting coroutine runs on.
template <class T>
Task<T> runOn(Executor executor, Task<T> task) {
  co_return co_await asio::co_spawn(executor, std::move(task), asio::use_awaitable);
}

/// Starts `task` and lets go of it. It must not throw.
inline void startDetached(Executor executor, Task<void> task) {
  asio::co_spawn(executor, std::move(task), [](std::exception_ptr error) {
    if (error) std::terminate();
  });
}

/// Blocks this thread until `task` has ended; never to be called on one of the background threads.
template <class T>
T runBlocking(Task<T> task, Executor executor = backgroundExecutor()) {
  // Not asio::use_future: it completes on threads that are torn down under it when the program ends.
  auto promise = std::make_shared<std::promise<T>>();
  auto result = promise->get_future();
  if constexpr (std::is_void_v<T>) {
    asio::co_spawn(executor, std::move(task), [promise](std::exception_ptr error) {
      error ? promise->set_exception(error) : promise->set_value();
    });
  } else {
    asio::co_spawn(executor, std::move(task), [promise](std::exception_ptr error, T value) {
      error ? promise->set_exception(error) : promise->set_value(std::move(value));
    });
  }
  return result.get();
}

/// Waits; true if the time passed, false if the wait was cancelled.
Task<bool> sleepFor(std::chrono::nanoseconds duration);
/// The same for a number of seconds, which saturates at what the clock holds.
Task<bool> sleepSeconds(double seconds);

/// One value that one coroutine waits for and some other thread provides, once.
template <class T>
class Continuation {
 public:
  /// `executor` is the strand that both the waiting coroutine and the object's state belong to.
  explicit Continuation(const Executor& executor) : state_(std::make_shared<State>(executor)) {}

  /// Ends the wait with `value`; calls after the first are ignored. Any thread.
  void resume(T value) const {
    asio::post(state_->timer.get_executor(), [state = state_, value = std::move(value)]() mutable {
      if (state->value) return;
      state->value.emplace(std::move(value));
      state->timer.cancel();
    });
  }

  /// Await on the executor given at construction, once.
  Task<T> wait() const {
    const auto state = state_;
    while (!state->value) {
      std::error_code ignored;
      co_await state->timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    co_return std::move(*state->value);
  }

 private:
  struct State {
    explicit State(const Executor& executor) : timer(executor, asio::steady_timer::time_point::max()) {}
    asio::steady_timer timer;
    std::optional<T> value;
  };
  std::shared_ptr<State> state_;
};

}  // namespace quillant
