#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <asio/execution.hpp>
#include <asio/query.hpp>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "Core/Task.h"

namespace quillant {

/// Runs work on the loop of a Qt application, one after another: the executor of the desktop's main thread.
/// Timers wait on the background threads and complete here. Made by a `QtLoop`; any thread may execute.
class QtExecutor {
 public:
  template <class Work>
  void execute(Work&& work) const {
    // Qt copies what it is given, and work of ours can only be moved.
    auto boxed = std::make_shared<std::decay_t<Work>>(std::forward<Work>(work));
    const std::scoped_lock lock(loop_->mutex);
    if (!loop_->application) return;
    QMetaObject::invokeMethod(
        loop_->application, [boxed = std::move(boxed)] { std::move (*boxed)(); }, Qt::QueuedConnection);
  }

  // What Asio asks of an executor.
  asio::execution_context& query(asio::execution::context_t) const noexcept { return *context_; }
  static constexpr asio::execution::blocking_t query(asio::execution::blocking_t) noexcept {
    return asio::execution::blocking.never;
  }
  friend bool operator==(const QtExecutor&, const QtExecutor&) noexcept = default;

 private:
  friend class QtLoop;
  struct Loop {
    std::mutex mutex;
    QCoreApplication* application = nullptr;  ///< Under the mutex; null once it ends.
  };

  explicit QtExecutor(std::shared_ptr<Loop> loop)
      : loop_(std::move(loop)), context_(&contextOf(backgroundExecutor())) {}
  static asio::execution_context& contextOf(const Executor& executor) {
    return asio::query(executor, asio::execution::context);
  }

  std::shared_ptr<Loop> loop_;
  asio::execution_context* context_;
};

/// An application's loop as an executor. Goes before the application: what comes later than that is destroyed
/// without running, as is what still waits when the application ends.
class QtLoop {
 public:
  explicit QtLoop(QCoreApplication& application) { loop_->application = &application; }
  ~QtLoop() {
    const std::scoped_lock lock(loop_->mutex);
    loop_->application = nullptr;
  }
  QtLoop(const QtLoop&) = delete;
  QtLoop& operator=(const QtLoop&) = delete;

  Executor executor() const { return QtExecutor(loop_); }

 private:
  const std::shared_ptr<QtExecutor::Loop> loop_ = std::make_shared<QtExecutor::Loop>();
};

}  // namespace quillant
