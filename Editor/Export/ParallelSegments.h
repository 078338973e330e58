#pragma once

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "MediaKit/Writing/EncodedPacket.h"

namespace quillant {

/// Makes stretches of a video beside one another and hands them over in order. Each thread works on one
/// stretch at a time, and none is more than a few stretches ahead of the one that is handed over next, so
/// that memory does not grow with the video.
class ParallelSegments {
 public:
  using Packets = std::vector<EncodedPacket>;
  /// Makes one stretch. Returns nothing when `isStopped` became true.
  using Worker =
      std::function<std::optional<Packets>(std::size_t segment, const std::function<bool()>& isStopped)>;

  /// `makeWorker` is called on each thread, once: a worker keeps what its stretches share.
  ParallelSegments(std::size_t count, int threads, std::function<Worker()> makeWorker);
  /// Stops and waits.
  ~ParallelSegments();
  ParallelSegments(const ParallelSegments&) = delete;
  ParallelSegments& operator=(const ParallelSegments&) = delete;

  /// The next stretch; none when all were handed over. Waits for it, calling `meanwhile` now and then, which
  /// may throw. Throws what a worker threw.
  std::optional<Packets> next(const std::function<void()>& meanwhile);

 private:
  void work(const std::function<Worker()>& makeWorker);

  std::size_t count_;
  std::size_t ahead_;

  std::mutex lock_;
  std::condition_variable changed_;
  std::vector<std::optional<Packets>> finished_;  ///< By number.
  std::size_t begun_ = 0;                         ///< How many stretches a thread has taken.
  std::size_t handedOver_ = 0;
  bool isStopped_ = false;
  std::exception_ptr failure_;

  std::vector<std::jthread> threads_;
};

}  // namespace quillant
