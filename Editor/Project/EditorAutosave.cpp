#include "Editor/Project/EditorAutosave.h"

namespace quillant {

namespace {

Task<> writeEditorState(ProjectStore store, ProjectAutosaveSnapshot snapshot) {
  store.writeEditorState(snapshot.projectId, snapshot.editorState);
  co_return;
}

}  // namespace

EditorAutosave::EditorAutosave(ProjectStore store, std::string projectId, const EditorStateHolding& holder,
                               Executor mainThread, std::chrono::nanoseconds debounce)
    : projectId_(std::move(projectId)),
      holder_(holder),
      status_(std::make_shared<std::optional<ProjectAutosaveStatus>>()),
      statusChanged_(std::make_shared<Signal<ProjectAutosaveStatus>>()) {
  coordinator_ = ProjectAutosaveCoordinator::make(
      std::move(mainThread), debounce,
      {.save =
           [store = std::move(store)](ProjectAutosaveSnapshot snapshot) {
             return runOn(backgroundExecutor(), writeEditorState(store, std::move(snapshot)));
           },
       .status =
           [status = status_, changed = statusChanged_](ProjectAutosaveStatus now) {
             *status = now;
             changed->emit(now);
           }});
}

ProjectAutosaveSnapshot EditorAutosave::snapshot() const {
  return {.projectId = projectId_, .editorState = holder_.exportEditorState()};
}

void EditorAutosave::markOpened() {
  coordinator_->seed(snapshot());
}

void EditorAutosave::scheduleSave() {
  coordinator_->schedule(snapshot());
}

Task<bool> EditorAutosave::flush() {
  return coordinator_->flush(snapshot());
}

void EditorAutosave::abandon() {
  coordinator_->abandon();
}

}  // namespace quillant
