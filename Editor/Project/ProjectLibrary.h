#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Core/Signal.h"
#include "Core/Task.h"
#include "Editor/Project/ProjectRevision.h"
#include "Editor/Project/ProjectStore.h"

namespace quillant {

struct ProjectChange {
  enum class Kind {
    created,
    saved,   ///< All of it.
    edited,  ///< Its editor state.
    shared,  ///< Its share record.
    renamed,
    deleted,
    changedElsewhere,  ///< By another program; found when the projects are listed.
  };
  std::string id;
  Kind kind = Kind::created;
  friend bool operator==(const ProjectChange&, const ProjectChange&) = default;
};

/// The one owner of the projects' folder in a program: the editor, the share, the sweep and the commands all
/// work through it. Another program may have a library of the same folder.
///
/// Any thread may call and await it. Operations run one after another on the library's own strand, on threads
/// that no recording waits for; only the media of bundles is copied beside them. A copy is the same library,
/// and what was started ends even if every copy is gone.
///
/// Documents are what counts: the index is made from them, whatever became of it. Reading and changing a
/// project throws `ProjectError`, so that one that is missing is distinguished from one that cannot be read;
/// what cannot be written throws `FileError`. A write by somebody else is waited for, but not for ever.
/// Nothing is replaced that the writer has not seen: a change is made to what is stored, and what replaces
/// something names the revision that it started from.
class ProjectLibrary {
 public:
  explicit ProjectLibrary(std::filesystem::path directory);

  /// Latest change first.
  Task<std::vector<ProjectStore::ProjectListItem>> projects() const;
  Task<std::map<std::string, ProjectShareRecord>> shareRecords() const;
  Task<StoredProject> project(std::string id) const;

  /// The project of a recording, which is made if there is none; two programs make one.
  Task<ProjectStore::Registration> registerRecording(RecordingHandoffFields recording,
                                                     ProjectStore::CreateOptions options) const;
  /// Refused with `ProjectError::Kind::changed` unless the document stored is the one of `startedFrom`.
  Task<ProjectRevision> save(ProjectDocument document, ProjectRevision startedFrom) const;
  /// The same for the editor state alone. A state that is stored already is not written again.
  Task<ProjectRevision> writeEditorState(std::string id, ProjectEditorState state,
                                         ProjectRevision startedFrom) const;
  /// `change` is given the record as it is stored, and called on the library's strand.
  Task<ProjectShareRecord> updateShare(std::string id, std::function<void(ProjectShareRecord&)> change) const;
  Task<> rename(std::string id, std::string title) const;
  /// Removes the document, not its media. None to remove is no error.
  Task<> delete_(std::string id) const;

  /// The project with its media as a folder, as `ProjectBundle::write`.
  Task<> exportProject(std::string id, std::filesystem::path bundle) const;
  /// A new project from such a folder; its media is copied into `mediaFolder`.
  Task<ProjectDocument> importProject(std::filesystem::path bundle, std::filesystem::path mediaFolder) const;

  /// What has just changed. Emitted on the library's strand, before the operation's task has ended.
  Signal<ProjectChange>& changed() const;

 private:
  struct State;
  template <class Work>
  auto perform(Work work) const;

  std::shared_ptr<State> state_;
};

}  // namespace quillant
