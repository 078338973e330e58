#include "quillant/Models/CountdownOverlayController.h"

#include <cassert>
#include <utility>

namespace quillant {

std::shared_ptr<CountdownOverlayController> CountdownOverlayController::start(
    const Executor& mainThread, std::uint32_t displayID, int seconds, std::function<Task<bool>(double)> sleep,
    Callbacks callbacks) {
  const std::shared_ptr<CountdownOverlayController> controller(
      new CountdownOverlayController(mainThread, displayID, seconds, std::move(callbacks)));
  startDetached(mainThread, count(controller, std::move(sleep)));
  return controller;
}

CountdownOverlayController::CountdownOverlayController(const Executor& mainThread, std::uint32_t displayID,
                                                       int seconds, Callbacks callbacks)
    : sequence_(mainThread), displayID_(displayID), callbacks_(std::move(callbacks)) {
  model_.remaining = seconds;
}

void CountdownOverlayController::cancel() {
  assert(sequence_.isCurrent());
  if (std::exchange(finished_, true)) return;
  if (const auto cancelled = std::exchange(callbacks_, {}).cancelled) cancelled();
}

Task<> CountdownOverlayController::count(std::weak_ptr<CountdownOverlayController> weak,
                                         std::function<Task<bool>(double)> sleep) {
  for (;;) {
    co_await sleep(1);
    const auto self = weak.lock();
    if (!self || !self->tick()) co_return;
  }
}

/// Whether to go on.
bool CountdownOverlayController::tick() {
  assert(sequence_.isCurrent());
  if (finished_) return false;
  --model_.remaining;
  model_.changed.emit();
  if (model_.remaining > 0) return true;
  finished_ = true;
  if (const auto finished = std::exchange(callbacks_, {}).finished) finished();
  return false;
}

}  // namespace quillant
