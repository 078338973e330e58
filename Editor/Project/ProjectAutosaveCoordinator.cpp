#include "Editor/Project/ProjectAutosaveCoordinator.h"

#include <cassert>

#include "Core/Error.h"

namespace quillant {

std::shared_ptr<ProjectAutosaveCoordinator> ProjectAutosaveCoordinator::make(
    Executor executor, std::chrono::nanoseconds debounce, Handlers handlers) {
  return std::shared_ptr<ProjectAutosaveCoordinator>(
      new ProjectAutosaveCoordinator(std::move(executor), debounce, std::move(handlers)));
}

ProjectAutosaveCoordinator::ProjectAutosaveCoordinator(Executor executor, std::chrono::nanoseconds debounce,
                                                       Handlers handlers)
    : executor_(std::move(executor)), debounce_(debounce), handlers_(std::move(handlers)) {}

void ProjectAutosaveCoordinator::abandon() {
  assert(sequence_.isCurrent());
  isAbandoned_ = true;
}

void ProjectAutosaveCoordinator::seed(ProjectAutosaveSnapshot snapshot) {
  assert(sequence_.isCurrent());
  latestSnapshot_ = snapshot;
  lastSavedSnapshot_ = std::move(snapshot);
}

void ProjectAutosaveCoordinator::schedule(std::optional<ProjectAutosaveSnapshot> snapshot) {
  assert(sequence_.isCurrent());
  if (isAbandoned_ || !snapshot) return;
  latestSnapshot_ = std::move(snapshot);
  if (isSaving_) {
    // What is saved is about to change: only the write's end can tell whether this state is on the disk.
    needsSaveAfterCurrent_ = true;
    return;
  }
  cancelPending();
  if (latestSnapshot_ == lastSavedSnapshot_) return;
  startDetached(executor_, saveAfterDebounce(weak_from_this(), pendingGeneration_));
}

Task<> ProjectAutosaveCoordinator::saveAfterDebounce(std::weak_ptr<ProjectAutosaveCoordinator> weak,
                                                     std::uint64_t generation) {
  auto self = weak.lock();
  if (!self) co_return;
  const auto sleep = self->handlers_.sleep;
  const auto debounce = self->debounce_;
  self.reset();
  co_await sleep(debounce);
  self = weak.lock();
  if (!self || self->pendingGeneration_ != generation) co_return;
  // One that was scheduled by a listener between two writes may wake while the second is running.
  if (self->isSaving_)
    self->needsSaveAfterCurrent_ = true;
  else
    co_await self->saveLatestSnapshot();
}

Task<> ProjectAutosaveCoordinator::saveLatestSnapshot() {
  assert(sequence_.isCurrent());
  const auto self = shared_from_this();
  while (!isAbandoned_ && latestSnapshot_ && latestSnapshot_ != lastSavedSnapshot_) {
    const auto snapshot = *latestSnapshot_;
    isSaving_ = true;
    needsSaveAfterCurrent_ = false;
    handlers_.status(AutosaveSaving{});
    std::exception_ptr failure;
    try {
      co_await handlers_.save(snapshot);
    } catch (...) {
      failure = std::current_exception();
    }
    isSaving_ = false;
    if (!failure) lastSavedSnapshot_ = snapshot;
    handlers_.status(failure ? ProjectAutosaveStatus(AutosaveFailed{describe(failure)}) : AutosaveSaved{});
    if (!needsSaveAfterCurrent_) break;
  }
  for (const auto& waiter : std::exchange(saveCompletionWaiters_, {})) waiter.resume(true);
}

Task<bool> ProjectAutosaveCoordinator::flush(std::optional<ProjectAutosaveSnapshot> snapshot) {
  assert(sequence_.isCurrent());
  const auto self = shared_from_this();
  if (isAbandoned_) co_return true;
  if (snapshot) latestSnapshot_ = std::move(snapshot);
  cancelPending();
  if (isSaving_) {
    needsSaveAfterCurrent_ = true;
    const Continuation<bool> ended(executor_);
    saveCompletionWaiters_.push_back(ended);
    co_await ended.wait();
  } else {
    co_await saveLatestSnapshot();
  }
  co_return isAbandoned_ || latestSnapshot_ == lastSavedSnapshot_;
}

}  // namespace quillant
