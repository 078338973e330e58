#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "Core/Signal.h"
#include "Core/Task.h"
#include "Editor/Project/EditorStateHolding.h"
#include "Editor/Project/ProjectAutosaveCoordinator.h"
#include "Editor/Project/ProjectLibrary.h"

namespace quillant {

/// Keeps one open project saved. Main thread; the library writes elsewhere. A state that did not reach the
/// disk is never told to be saved: not if the project is missing, nor if its edit was changed elsewhere since
/// it was opened.
class EditorAutosave {
 public:
  static constexpr std::chrono::nanoseconds defaultDebounce = std::chrono::milliseconds(800);

  /// `holder` is the open recording and outlives this object.
  EditorAutosave(ProjectLibrary library, std::string projectId, const EditorStateHolding& holder,
                 Executor mainThread, std::chrono::nanoseconds debounce = defaultDebounce);

  /// The project has just been opened, as of `revision`: its state is what the disk holds.
  void markOpened(const ProjectRevision& revision);
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
  std::shared_ptr<ProjectRevision> revision_;  ///< What the next write starts from.
  std::shared_ptr<std::optional<ProjectAutosaveStatus>> status_;
  std::shared_ptr<Signal<ProjectAutosaveStatus>> statusChanged_;
  std::shared_ptr<ProjectAutosaveCoordinator> coordinator_;
};

}  // namespace quillant
