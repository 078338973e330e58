#pragma once

#include <asio/async_result.hpp>
#include <exception>
#include <type_traits>
#include <utility>

#include "Core/SerialQueue.h"
#include "Core/Task.h"

namespace quillant {

/// Runs `task` on `queue`, whichever executor the awaiting coroutine runs on. The queue may be destroyed as
/// soon as the task has ended: with the plain executor, the thread that sent the task there could still be
/// waking it.
template <class T>
Task<T> runOn(SerialQueue& queue, Task<T> task) {
  const auto start = [&queue](auto handler, Task<T> work) {
    queue.async(
        [executor = queue.executor(), handler = std::move(handler), work = std::move(work)]() mutable {
          asio::co_spawn(executor, std::move(work), std::move(handler));
        });
  };
  using Token = const asio::use_awaitable_t<>;
  if constexpr (std::is_void_v<T>)
    co_await asio::async_initiate<Token, void(std::exception_ptr)>(start, asio::use_awaitable,
                                                                   std::move(task));
  else
    co_return co_await asio::async_initiate<Token, void(std::exception_ptr, T)>(start, asio::use_awaitable,
                                                                                std::move(task));
}

}  // namespace quillant
