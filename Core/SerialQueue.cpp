#include "Core/SerialQueue.h"

#include <asio/dispatch.hpp>
#include <asio/steady_timer.hpp>
#include <atomic>
#include <pthread.h>
#include <sys/resource.h>

namespace quillant {

namespace {

/// Linux keeps 15 characters of a thread's name: the last words of "quillant.capture.video" tell most.
void nameThisThread(const std::string& name) {
  constexpr std::size_t limit = 15;
  pthread_setname_np(pthread_self(),
                     name.size() <= limit ? name.c_str() : name.c_str() + (name.size() - limit));
}

/// On Linux a thread has a niceness of its own; the threads that it starts have the same.
void lowerThisThread() {
  constexpr int niceness = 10;
  ::setpriority(PRIO_PROCESS, 0, niceness);
}

}  // namespace

SerialQueue::SerialQueue(std::string name, Priority priority)
    : name_(std::move(name)),
      context_(std::make_shared<asio::io_context>(1)),
      guard_(context_->get_executor()) {
  thread_ = std::thread([context = context_, name = name_, priority] {
    nameThisThread(name);
    if (priority == Priority::utility) lowerThisThread();
    context->run();
  });
  threadID_ = thread_.get_id();
}

SerialQueue::~SerialQueue() {
  guard_.reset();
  if (isCurrent())
    thread_.detach();
  else
    thread_.join();
}

struct QueueTimer::State : std::enable_shared_from_this<State> {
  State(SerialQueue& queue, Duration every, std::function<void()> work)
      : timer(queue.executor()), interval(every), handler(std::move(work)) {}

  void arm() {
    timer.expires_at(next);
    timer.async_wait([self = shared_from_this()](std::error_code error) {
      if (error || self->cancelled) return;
      self->handler();
      self->next += self->interval;
      const auto now = std::chrono::steady_clock::now();
      if (self->next < now)
        self->next += (now - self->next) / self->interval * self->interval + self->interval;
      if (!self->cancelled) self->arm();
    });
  }

  asio::steady_timer timer;
  std::chrono::steady_clock::time_point next;
  Duration interval;
  std::function<void()> handler;
  std::atomic<bool> cancelled = false;
};

QueueTimer::QueueTimer(SerialQueue& queue, Duration firstAfter, Duration interval,
                       std::function<void()> handler)
    : state_(std::make_shared<State>(queue, interval, std::move(handler))) {
  state_->next = std::chrono::steady_clock::now() + firstAfter;
  asio::post(queue.executor(), [state = state_] {
    if (!state->cancelled) state->arm();
  });
}

QueueTimer::~QueueTimer() {
  cancel();
}

void QueueTimer::cancel() {
  if (state_->cancelled.exchange(true)) return;
  // The timer itself belongs to the queue's thread.
  asio::dispatch(state_->timer.get_executor(), [state = state_] { state->timer.cancel(); });
}

}  // namespace quillant
