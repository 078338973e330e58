#include "Editor/Composition/VideoBackgroundCompositor.h"

#include <asio/post.hpp>
#include <cassert>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <new>
#include <utility>

#include "DrawKit/DrawingError.h"
#include "Editor/Composition/VideoCompositorError.h"

namespace quillant {

namespace {

/// A request's turn on the queue, whole on the stack of the thread that waits for it: a frame allocates
/// nothing.
class Turn {
 public:
  /// Hands out the one block that a post to a queue takes.
  template <class T>
  struct Allocator {
    using value_type = T;
    explicit Allocator(Turn& turn_) : turn(&turn_) {}
    template <class U>
    Allocator(const Allocator<U>& other) : turn(other.turn) {}

    T* allocate(std::size_t) {
      static_assert(sizeof(T) <= sizeof(Turn::memory_) && alignof(T) <= alignof(std::max_align_t));
      return reinterpret_cast<T*>(turn->memory_);
    }
    void deallocate(T*, std::size_t) {}
    friend bool operator==(const Allocator&, const Allocator&) = default;

    Turn* turn;
  };

  /// What is posted.
  template <class Compose>
  struct Work {
    using allocator_type = Allocator<std::byte>;
    allocator_type get_allocator() const { return allocator_type(*turn); }
    void operator()() const { turn->run(*compose); }

    Turn* turn;
    const Compose* compose;
  };

  /// Runs `compose` on the queue and waits for its frame, or its exception.
  template <class Compose>
  PixelBufferRef take(SerialQueue& queue, const Compose& compose) {
    asio::post(queue.executor(), Work<Compose>{this, &compose});
    std::unique_lock lock(mutex_);
    ended_.wait(lock, [&] { return hasEnded_; });
    if (failure_) std::rethrow_exception(failure_);
    return std::move(frame_);
  }

 private:
  template <class Compose>
  void run(const Compose& compose) {
    try {
      frame_ = compose();
    } catch (...) {
      failure_ = std::current_exception();
    }
    // Under the lock to the end: whoever waits takes the turn away as soon as it is free.
    const std::scoped_lock lock(mutex_);
    hasEnded_ = true;
    ended_.notify_one();
  }

  alignas(std::max_align_t) std::byte memory_[128];
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;  ///< Under the mutex.
  PixelBufferRef frame_;
  std::exception_ptr failure_;
};

}  // namespace

VideoBackgroundCompositor::VideoBackgroundCompositor(const Options& options)
    : composer_(options.wallpapers), pool_(options.threads), keptBytes_(options.keptBytes) {}

PixelBufferRef VideoBackgroundCompositor::startRequest(const Request& request) {
  if (renderingQueue_.isCurrent()) return composeFrame(request);
  return Turn().take(renderingQueue_, [&] { return composeFrame(request); });
}

void VideoBackgroundCompositor::cancelAllPendingVideoCompositionRequests() {
  renderingQueue_.sync([] {});
}

PixelBufferRef VideoBackgroundCompositor::composeFrame(const Request& request) {
  assert(renderingQueue_.isCurrent());
  using Kind = VideoCompositorError::Kind;
  try {
    const auto images = composer_.compose(request.instruction, request.time, request.frames);
    return rendererFor(request.instruction->renderSize).render(images);
  } catch (const DrawingError& error) {
    throw VideoCompositorError(error.kind == DrawingError::Kind::size ? Kind::renderBufferUnavailable
                                                                      : Kind::renderFailed);
  } catch (const std::bad_alloc&) {
    throw VideoCompositorError(Kind::renderBufferUnavailable);
  }
}

Renderer& VideoBackgroundCompositor::rendererFor(const Size& size) {
  if (!renderer_ || size != rendererSize_) {
    // Before the new one takes its memory.
    renderer_.reset();
    // A size that is no size stays one that is refused.
    const auto side = [](double length) {
      return length >= 0 && length <= Renderer::longestSide ? static_cast<int>(std::lround(length)) : 0;
    };
    renderer_.emplace(Renderer::Options{side(size.width), side(size.height), keptBytes_}, pool_);
    rendererSize_ = size;
  }
  return *renderer_;
}

}  // namespace quillant
