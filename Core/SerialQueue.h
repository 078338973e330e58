#pragma once

#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include "Core/AwaitedWork.h"

namespace quillant {

/// A named queue that runs what it is given one after another, on a thread of its own.
///
/// `async` and `sync` may be called from any thread. Destruction runs what is still queued and then joins;
/// a queue that is destroyed on its own thread finishes what is queued after the destructor has returned.
class SerialQueue {
 public:
  /// Work that nobody waits for is `utility`: whatever else wants the processor has it first.
  enum class Priority { normal, utility };

  explicit SerialQueue(std::string name, Priority priority = Priority::normal);
  ~SerialQueue();
  SerialQueue(const SerialQueue&) = delete;
  SerialQueue& operator=(const SerialQueue&) = delete;

  const std::string& name() const { return name_; }
  /// Whether the caller runs on this queue.
  bool isCurrent() const { return std::this_thread::get_id() == threadID_; }
  asio::io_context::executor_type executor() const { return context_->get_executor(); }

  template <class Work>
  void async(Work&& work) {
    // The work may destroy this queue while `post` is still waking its thread.
    const auto context = context_;
    asio::post(*context, std::forward<Work>(work));
  }

  /// Runs `work` on the queue and waits for its result, an exception included. On the queue itself it runs
  /// at once, so a nested call cannot wait for itself. Allocates nothing.
  template <class Work>
  auto sync(Work&& work) -> std::invoke_result_t<Work&> {
    if (isCurrent()) return work();
    AwaitedWork<std::remove_reference_t<Work>> awaited(work);
    asio::post(*context_, awaited.handler());
    return awaited.result();
  }

 private:
  std::string name_;
  std::shared_ptr<asio::io_context> context_;
  asio::executor_work_guard<asio::io_context::executor_type> guard_;
  std::thread thread_;
  std::thread::id threadID_;
};

/// A repeating timer on a queue. It keeps its rhythm: a late firing does not shift those after it, and
/// firings that were missed entirely are left out. Create, cancel and destroy it on any thread; once `cancel`
/// was called on the queue itself, the handler does not run again.
class QueueTimer {
 public:
  using Duration = std::chrono::nanoseconds;
  QueueTimer(SerialQueue& queue, Duration firstAfter, Duration interval, std::function<void()> handler);
  ~QueueTimer();
  QueueTimer(const QueueTimer&) = delete;
  QueueTimer& operator=(const QueueTimer&) = delete;
  void cancel();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace quillant
