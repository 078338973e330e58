#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "CaptureEngine/ScreenService.h"
#include "Linux/Screen/CaptureSource.h"
#include "Linux/Screen/FramePool.h"
#include "Linux/Screen/PictureReader.h"
#include "Linux/Screen/WakeUp.h"
#include "Linux/Screen/X11Target.h"
#include "Linux/X11/X11Connection.h"

namespace quillant {

/// Pictures of a display, an area or a window from an X server, without the pointer.
///
/// A thread of its own waits on a connection of its own, so the server may hang or die without holding anyone
/// else up; one that hangs ends the stream within twice the connection's patience. Started, stopped and
/// destroyed by one owner; the sample queue outlives it. Used once.
class ScreenStream : public StreamControlling {
 public:
  /// `displayName` as X11Connection takes it.
  ScreenStream(std::string displayName, X11Connection::Duration patience, const X11Target& target,
               const StreamConfiguration& configuration, SerialQueue& sampleQueue, StreamCallbacks callbacks);
  /// Stops what runs; a callback that is being run at this moment may still run to its end.
  ~ScreenStream() override;

  Task<void> startCapture() override;
  void refresh() override;
  /// Prompt even when the server does not answer. Harmless when nothing runs.
  Task<void> stopCapture() override;

  /// Pixels that the server has handed over so far. Any thread.
  std::uint64_t pixelsFetched() const { return pixelsFetched_; }

 private:
  /// What the callbacks on the sample queue share with the stream.
  struct Delivery {
    std::atomic<bool> isOpen = true;
    StreamCallbacks callbacks;
    std::exception_ptr failure;  ///< The thread's, until it has told of it.
  };
  using Clock = std::chrono::steady_clock;

  void run();
  void setUp();
  void captureUntilStopped();
  void capture();
  void handleEvents();
  void waitForNews();
  void deliver(PixelBufferRef buffer, MediaTime time);
  void requestStop();

  const std::string displayName_;
  const X11Connection::Duration patience_;
  const X11Target target_;
  const StreamConfiguration configuration_;
  const Clock::duration interval_;
  SerialQueue& sampleQueue_;
  const std::shared_ptr<Delivery> delivery_;
  const std::shared_ptr<WakeUp> wakeUp_;
  std::atomic<bool> stopping_ = false;
  std::atomic<bool> refresh_ = false;
  std::atomic<std::uint64_t> pixelsFetched_ = 0;
  const Executor strand_;
  const Continuation<bool> started_;
  const Continuation<bool> finished_;
  std::thread thread_;

  // The thread's own from its start to its end.
  std::optional<X11Connection> x_;
  std::unique_ptr<CaptureSource> source_;
  std::shared_ptr<FramePool> pool_;
  std::optional<PictureReader> reader_;
  bool pending_ = true;    ///< There may be something new to read.
  bool starved_ = false;   ///< Every buffer of the pool is held elsewhere.
  Clock::time_point due_;  ///< The next picture is read no earlier.
};

}  // namespace quillant
