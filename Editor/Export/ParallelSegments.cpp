#include "Editor/Export/ParallelSegments.h"

#include <chrono>
#include <malloc.h>
#include <utility>

namespace quillant {

namespace {

/// How often a waiting caller looks whether it is still wanted.
constexpr std::chrono::milliseconds interval(50);

}  // namespace

ParallelSegments::ParallelSegments(std::size_t count, int threads, std::function<Worker()> makeWorker)
    : count_(count), ahead_(static_cast<std::size_t>(threads) + 1), finished_(count) {
  for (int i = 0; i < threads; ++i) threads_.emplace_back([this, makeWorker] { work(makeWorker); });
}

ParallelSegments::~ParallelSegments() {
  const std::lock_guard guard(lock_);
  isStopped_ = true;
  changed_.notify_all();
}

void ParallelSegments::work(const std::function<Worker()>& makeWorker) {
  try {
    const auto worker = makeWorker();
    for (;;) {
      std::size_t segment = 0;
      {
        std::unique_lock guard(lock_);
        changed_.wait(guard,
                      [this] { return isStopped_ || begun_ == count_ || begun_ < handedOver_ + ahead_; });
        if (isStopped_ || begun_ == count_) return;
        segment = begun_++;
      }
      auto packets = worker(segment, [this] {
        const std::lock_guard guard(lock_);
        return isStopped_;
      });
      if (!packets) return;
      // glibc keeps the freed pictures of decoders and encoders on its heap, and its heap grows with every
      // stretch.
      malloc_trim(0);
      const std::lock_guard guard(lock_);
      finished_[segment] = std::move(packets);
      changed_.notify_all();
    }
  } catch (...) {
    const std::lock_guard guard(lock_);
    if (!failure_) failure_ = std::current_exception();
    isStopped_ = true;
    changed_.notify_all();
  }
}

std::optional<ParallelSegments::Packets> ParallelSegments::next(const std::function<void()>& meanwhile) {
  std::unique_lock guard(lock_);
  if (handedOver_ == count_) return std::nullopt;
  for (;;) {
    if (failure_) std::rethrow_exception(failure_);
    if (finished_[handedOver_]) {
      auto packets = std::exchange(finished_[handedOver_], std::nullopt);
      ++handedOver_;
      changed_.notify_all();
      return packets;
    }
    changed_.wait_for(guard, interval);
    guard.unlock();
    meanwhile();
    guard.lock();
  }
}

}  // namespace quillant
