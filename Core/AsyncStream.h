#pragma once

#include <asio/experimental/concurrent_channel.hpp>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "Core/Task.h"

namespace quillant {

/// An unbounded sequence of values: a source yields them on any thread, one consumer awaits them in order.
/// The stream ends when the source finishes it, and terminates when the consumer lets go of it.
template <class T>
class AsyncStream {
  struct State {
    explicit State(std::function<void()> onTermination)
        : channel(backgroundExecutor(), std::numeric_limits<std::size_t>::max()),
          terminated(std::move(onTermination)) {}
    /// Nothing stands for the end: a channel that is closed forgets what it holds.
    asio::experimental::concurrent_channel<void(std::error_code, std::optional<T>)> channel;
    std::function<void()> terminated;
  };

 public:
  /// The yielding end. What it yields after the stream has ended is dropped.
  class Source {
   public:
    void yield(T value) const { state_->channel.try_send(std::error_code(), std::move(value)); }
    /// The consumer still gets what was yielded before.
    void finish() const { state_->channel.try_send(std::error_code(), std::nullopt); }

   private:
    friend AsyncStream;
    explicit Source(std::shared_ptr<State> state) : state_(std::move(state)) {}
    std::shared_ptr<State> state_;
  };

  /// `onTermination` runs once, on the thread that destroys the stream, if the stream was not moved from.
  static std::pair<AsyncStream, Source> make(std::function<void()> onTermination = {}) {
    auto state = std::make_shared<State>(std::move(onTermination));
    return {AsyncStream(state), Source(state)};
  }

  AsyncStream() = default;  ///< A stream that has ended.
  AsyncStream(AsyncStream&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}
  AsyncStream& operator=(AsyncStream&& other) noexcept {
    std::swap(state_, other.state_);
    return *this;
  }
  ~AsyncStream() {
    if (!state_) return;
    state_->channel.close();
    if (state_->terminated) state_->terminated();
  }

  /// The next value, or nothing once the stream has ended. One call at a time.
  Task<std::optional<T>> next() {
    if (!state_) co_return std::nullopt;
    std::error_code closed;
    auto value = co_await state_->channel.async_receive(asio::redirect_error(asio::use_awaitable, closed));
    if (!value) state_->channel.close();
    co_return value;
  }

 private:
  explicit AsyncStream(std::shared_ptr<State> state) : state_(std::move(state)) {}
  std::shared_ptr<State> state_;
};

}  // namespace quillant
