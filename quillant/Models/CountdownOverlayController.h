#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "Core/OwningSequence.h"
#include "Core/Task.h"
#include "quillant/Models/CountdownModel.h"

namespace quillant {

/// The seconds before a recording, on the display that will be recorded. Belongs to the main thread; whoever
/// shows it goes before it.
class CountdownOverlayController : public std::enable_shared_from_this<CountdownOverlayController> {
 public:
  struct Callbacks {
    std::function<void()> finished;
    std::function<void()> cancelled;
  };

  /// Starts to count. `sleep` waits for seconds. Of the callbacks one is called, once.
  static std::shared_ptr<CountdownOverlayController> start(const Executor& mainThread,
                                                           std::uint32_t displayID, int seconds,
                                                           std::function<Task<bool>(double)> sleep,
                                                           Callbacks callbacks);

  std::uint32_t displayID() const { return displayID_; }
  CountdownModel& model() { return model_; }
  /// Escape.
  void cancel();

 private:
  CountdownOverlayController(const Executor& mainThread, std::uint32_t displayID, int seconds,
                             Callbacks callbacks);
  static Task<> count(std::weak_ptr<CountdownOverlayController> weak,
                      std::function<Task<bool>(double)> sleep);
  bool tick();

  const OwningSequence sequence_;
  const std::uint32_t displayID_;
  Callbacks callbacks_;  ///< Empty once one of them was called.
  bool finished_ = false;
  CountdownModel model_;
};

}  // namespace quillant
