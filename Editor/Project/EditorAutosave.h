#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Core/Signal.h"
#include "Core/Task.h"
#include "Editor/Project/EditorStateHolding.h"
#include "Editor/Project/ProjectAutosaveCoordinator.h"
#include "Editor/Project/ProjectStore.h"

namespace quillant {

/// Keeps one open project saved. Main thread; the disk is written on a background thread.
class EditorAutosave {
 public:
  static constexpr std::chrono::nanoseconds defaultDebounce = std::chrono::milliseconds(800);

  /// `holder` is the open recording and outlives this object.
  EditorAutosave(ProjectStore store, std::string projectId, const EditorStateHolding& holder,
                 Executor mainThread, std::chrono::nanoseconds debounce = defaultDebounce);

  /// The project has just been opened: its state is what the disk holds.
  void markOpened();
  /// Something was edited.
  void scheduleSave();
  /// Await it before the window closes or the project changes. Whether the state is safely written.
  Task<bool> flush();
  /// The project was deleted: it must not be written again.
  void abandon();

  /// None before the first save.
  const std::optional<ProjectAutosaveStatus>& status() const { return *status_; }
  Signal<ProjectAutosaveStatus>& statusChanged() { return *statusChanged_; }

 private:
  ProjectAutosaveSnapshot snapshot() const;

  std::string projectId_;
  const EditorStateHolding& holder_;
  // Shared with the coordinator's handlers, which a running save may call after this object is gone.
  std::shared_ptr<std::optional<ProjectAutosaveStatus>> status_;
  std::shared_ptr<Signal<ProjectAutosaveStatus>> statusChanged_;
  std::shared_ptr<ProjectAutosaveCoordinator> coordinator_;
};

}  // namespace quillant
