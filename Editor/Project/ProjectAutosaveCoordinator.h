#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Core/OwningSequence.h"
#include "Core/Task.h"
#include "Editor/Project/ProjectEditorState.h"

namespace quillant {

/// One state of one project, as it was to be written.
struct ProjectAutosaveSnapshot {
  std::string projectId;
  ProjectEditorState editorState;
  friend bool operator==(const ProjectAutosaveSnapshot&, const ProjectAutosaveSnapshot&) = default;
};

struct AutosaveFailed {
  std::string reason;
  friend bool operator==(const AutosaveFailed&, const AutosaveFailed&) = default;
};
struct AutosaveSaving {
  friend bool operator==(const AutosaveSaving&, const AutosaveSaving&) = default;
};
struct AutosaveSaved {
  friend bool operator==(const AutosaveSaved&, const AutosaveSaved&) = default;
};
using ProjectAutosaveStatus = std::variant<AutosaveFailed, AutosaveSaving, AutosaveSaved>;

/// Brings the newest state to the disk: after a quiet while, and never with two writes at once.
///
/// Everything happens on the executor given at construction (the main thread's), handlers included. A state
/// whose write failed is tried again at the next `schedule` or `flush`; no timer retries it.
class ProjectAutosaveCoordinator : public std::enable_shared_from_this<ProjectAutosaveCoordinator> {
 public:
  struct Handlers {
    std::function<Task<void>(ProjectAutosaveSnapshot)> save;  ///< Throws when the state could not be written.
    std::function<void(ProjectAutosaveStatus)> status;
    /// Waits for the debounce; replaced by tests.
    std::function<Task<bool>(std::chrono::nanoseconds)> sleep = sleepFor;
  };

  static std::shared_ptr<ProjectAutosaveCoordinator> make(Executor executor,
                                                          std::chrono::nanoseconds debounce,
                                                          Handlers handlers);

  /// What is known to be on the disk already, so that it is not written again.
  void seed(ProjectAutosaveSnapshot snapshot);
  /// Saves the state once nothing newer has come for the debounce. No state does nothing.
  void schedule(std::optional<ProjectAutosaveSnapshot> snapshot);
  /// Saves now, after the write that is running. Whether the newest state is safely written; true for an
  /// abandoned project, which is never written again.
  Task<bool> flush(std::optional<ProjectAutosaveSnapshot> snapshot);
  /// The project is gone: nothing is written any more.
  void abandon();

 private:
  ProjectAutosaveCoordinator(Executor executor, std::chrono::nanoseconds debounce, Handlers handlers);

  static Task<> saveAfterDebounce(std::weak_ptr<ProjectAutosaveCoordinator> weak, std::uint64_t generation);
  Task<> saveLatestSnapshot();
  void cancelPending() { ++pendingGeneration_; }

  const Executor executor_;
  const OwningSequence sequence_{executor_};
  std::chrono::nanoseconds debounce_;
  Handlers handlers_;
  std::uint64_t pendingGeneration_ = 0;  ///< A debounce of an older generation has been cancelled.
  std::optional<ProjectAutosaveSnapshot> latestSnapshot_;
  std::optional<ProjectAutosaveSnapshot> lastSavedSnapshot_;
  bool isSaving_ = false;
  bool needsSaveAfterCurrent_ = false;
  bool isAbandoned_ = false;
  std::vector<Continuation<bool>> saveCompletionWaiters_;
};

}  // namespace quillant
