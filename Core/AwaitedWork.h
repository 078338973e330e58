#pragma once

// Internal to `SerialQueue`.

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillant {

/// Work that one thread waits for while another runs it, all of it on the stack of the one that waits: the
/// memory that posting takes too. Used once; `work` outlives it.
template <class Work>
class AwaitedWork {
  /// Hands out the one block that a post takes.
  template <class T>
  struct Allocator {
    using value_type = T;
    explicit Allocator(AwaitedWork& owner) : awaited(&owner) {}
    template <class U>
    Allocator(const Allocator<U>& other) : awaited(other.awaited) {}

    T* allocate(std::size_t) {
      static_assert(sizeof(T) <= sizeof(AwaitedWork::memory_) && alignof(T) <= alignof(std::max_align_t));
      return reinterpret_cast<T*>(awaited->memory_);
    }
    void deallocate(T*, std::size_t) {}
    friend bool operator==(const Allocator&, const Allocator&) = default;

    AwaitedWork* awaited;
  };

 public:
  using Result = std::invoke_result_t<Work&>;

  explicit AwaitedWork(Work& work) : work_(work) {}

  /// What is posted to the thread that runs the work.
  struct Handler {
    using allocator_type = Allocator<std::byte>;
    allocator_type get_allocator() const { return allocator_type(*awaited); }
    void operator()() const { awaited->run(); }

    AwaitedWork* awaited;
  };
  Handler handler() { return {this}; }

  /// Waits until the work has run. Throws what it threw.
  Result result() {
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [&] { return hasEnded_; });
    if (failure_) std::rethrow_exception(failure_);
    if constexpr (!std::is_void_v<Result>) return std::move(*result_);
  }

 private:
  struct Nothing {};

  void run() {
    try {
      if constexpr (std::is_void_v<Result>)
        work_();
      else
        result_.emplace(work_());
    } catch (...) {
      failure_ = std::current_exception();
    }
    // Under the lock to the end: whoever waits takes all of this away as soon as it is free.
    const std::scoped_lock lock(mutex_);
    hasEnded_ = true;
    ended_.notify_one();
  }

  alignas(std::max_align_t) std::byte memory_[128];
  Work& work_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;  ///< Under the mutex.
  std::optional<std::conditional_t<std::is_void_v<Result>, Nothing, Result>> result_;
  std::exception_ptr failure_;
};

}  // namespace quillant
