#include "Editor/Project/EditorAutosave.h"

namespace quillant {

namespace {

Task<> write(ProjectLibrary library, std::shared_ptr<ProjectRevision> revision,
             ProjectAutosaveSnapshot snapshot) {
  *revision = co_await library.writeEditorState(std::move(snapshot.projectId),
                                                std::move(snapshot.editorState), *revision);
}

}  // namespace

EditorAutosave::EditorAutosave(ProjectLibrary library, std::string projectId,
                               const EditorStateHolding& holder, Executor mainThread,
                               std::chrono::nanoseconds debounce)
    : projectId_(std::move(projectId)),
      holder_(holder),
      revision_(std::make_shared<ProjectRevision>()),
      status_(std::make_shared<std::optional<ProjectAutosaveStatus>>()),
      statusChanged_(std::make_shared<Signal<ProjectAutosaveStatus>>()) {
  coordinator_ = ProjectAutosaveCoordinator::make(
      std::move(mainThread), debounce,
      {.save =
           [library = std::move(library), revision = revision_](ProjectAutosaveSnapshot snapshot) {
             return write(library, revision, std::move(snapshot));
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

void EditorAutosave::markOpened(const ProjectRevision& revision) {
  *revision_ = revision;
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
