#include "DrawKit/BandPool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace quillant {

struct BandPool::State {
  std::mutex mutex;
  std::condition_variable begun;
  std::condition_variable done;
  // Under the mutex. `round` counts the calls, `working` the threads that have not left the present one.
  std::uint64_t round = 0;
  int working = 0;
  bool closing = false;
  int bands = 0;
  void (*work)(const void*, int, int) = nullptr;
  const void* context = nullptr;

  std::atomic<int> next = 0;
  std::vector<std::thread> threads;

  std::exception_ptr failure;  ///< Under the mutex.

  void drain(int worker) {
    try {
      for (int band = next++; band < bands; band = next++) work(context, worker, band);
    } catch (...) {
      const std::scoped_lock lock(mutex);
      if (!failure) failure = std::current_exception();
    }
  }

  void serve(int worker) {
    std::uint64_t seen = 0;
    std::unique_lock lock(mutex);
    for (;;) {
      begun.wait(lock, [&] { return closing || round != seen; });
      if (closing) return;
      seen = round;
      lock.unlock();
      drain(worker);
      lock.lock();
      if (--working == 0) done.notify_one();
    }
  }
};

BandPool::BandPool(int threads) : state_(std::make_unique<State>()) {
  const int count =
      threads > 0 ? threads : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  for (int worker = 1; worker < count; ++worker)
    state_->threads.emplace_back([state = state_.get(), worker] { state->serve(worker); });
}

BandPool::~BandPool() {
  {
    const std::scoped_lock lock(state_->mutex);
    state_->closing = true;
  }
  state_->begun.notify_all();
  for (auto& thread : state_->threads) thread.join();
}

int BandPool::threads() const {
  return static_cast<int>(state_->threads.size()) + 1;
}

void BandPool::runErased(int bands, void (*work)(const void*, int, int), const void* context) {
  // Waking the others costs more than a single band is worth.
  if (bands <= 1 || state_->threads.empty()) {
    for (int band = 0; band < bands; ++band) work(context, 0, band);
    return;
  }
  {
    const std::scoped_lock lock(state_->mutex);
    state_->bands = bands;
    state_->work = work;
    state_->context = context;
    state_->next = 0;
    state_->working = static_cast<int>(state_->threads.size());
    ++state_->round;
  }
  state_->begun.notify_all();
  state_->drain(0);
  std::unique_lock lock(state_->mutex);
  state_->done.wait(lock, [&] { return state_->working == 0; });
  if (state_->failure) std::rethrow_exception(std::exchange(state_->failure, nullptr));
}

}  // namespace quillant
