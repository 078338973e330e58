#include "Editor/Project/ProjectLibrary.h"

#include <asio/strand.hpp>
#include <optional>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/Date.h"
#include "Core/DiskExecutor.h"
#include "Core/Log.h"
#include "Editor/Project/ProjectBundle.h"
#include "Editor/Project/ProjectError.h"

namespace quillant {

struct ProjectLibrary::State {
  explicit State(std::filesystem::path directory) : store{std::move(directory)} {}

  // Whatever thread they are on, these belong to the strand.
  const ProjectStore store;
  const Executor strand = asio::make_strand(diskExecutor());
  bool isSwept = false;
  /// What was listed last; none before the first time.
  std::optional<std::map<std::string, ProjectIndexEntry>> listed;
  Signal<ProjectChange> changed;

  void sweepOnce() {
    if (std::exchange(isSwept, true)) return;
    try {
      store.removeTemporaries();
    } catch (const FileError& error) {
      Log::write("left-over files of the projects could not be removed: {}", error.description());
    }
  }

  /// Reports a project that this library has written.
  void announce(ProjectChange::Kind kind, ProjectIndexEntry entry) {
    const auto id = entry.summary.id;
    if (listed) listed->insert_or_assign(id, std::move(entry));
    changed.emit({id, kind});
  }
  void announce(ProjectChange::Kind kind, const ProjectDocument& document) {
    announce(kind, ProjectIndex::entry(store.directory, document));
  }

  std::vector<ProjectIndexEntry> list() {
    auto entries = store.refreshIndex();
    std::map<std::string, ProjectIndexEntry> now;
    for (const auto& entry : entries) now.emplace(entry.summary.id, entry);
    const auto before = std::exchange(listed, now);
    if (!before) return entries;
    for (const auto& [id, entry] : now) {
      const auto old = before->find(id);
      if (old == before->end())
        changed.emit({id, ProjectChange::Kind::created});
      else if (old->second.file != entry.file)
        changed.emit({id, ProjectChange::Kind::changedElsewhere});
    }
    for (const auto& [id, entry] : *before)
      if (!now.contains(id)) changed.emit({id, ProjectChange::Kind::deleted});
    return entries;
  }

  StoredProject change(const std::string& id, ProjectChange::Kind kind,
                       const std::function<void(StoredProject&)>& change) {
    bool differs = false;
    auto stored = store.changeProject(id, [&](StoredProject& project) {
      const auto before = project.document;
      change(project);
      differs = project.document != before;
    });
    if (differs) announce(kind, stored.document);
    return stored;
  }
};

namespace {

/// What `work` holds lives in the coroutine, and the state as long as it runs.
template <class State, class Work>
Task<std::invoke_result_t<Work, State&>> onStrand(std::shared_ptr<State> state, Work work) {
  state->sweepOnce();
  co_return work(*state);
}

void require(bool isUnchanged) {
  if (!isUnchanged) throw ProjectError(ProjectError::Kind::changed);
}

Task<> writeBundle(ProjectStore::ExportedProject project, std::filesystem::path bundle) {
  ProjectBundle::write(project, bundle);
  co_return;
}

using SharedBundle = std::shared_ptr<ProjectBundle::CopiedBundle>;

Task<SharedBundle> copyBundle(std::filesystem::path bundle, std::filesystem::path mediaFolder) {
  co_return std::make_shared<ProjectBundle::CopiedBundle>(bundle, mediaFolder);
}

// Media takes its time: beside the strand.
Task<> exportBundle(Task<ProjectStore::ExportedProject> exported, std::filesystem::path bundle) {
  auto project = co_await std::move(exported);
  co_await runOn(diskExecutor(), writeBundle(std::move(project), std::move(bundle)));
}

template <class Register>
Task<ProjectDocument> importBundle(std::filesystem::path path, std::filesystem::path mediaFolder,
                                   Register registerProject) {
  auto bundle = co_await runOn(diskExecutor(), copyBundle(std::move(path), std::move(mediaFolder)));
  co_return co_await registerProject(std::move(bundle));
}

}  // namespace

ProjectLibrary::ProjectLibrary(std::filesystem::path directory)
    : state_(std::make_shared<State>(std::move(directory))) {}

template <class Work>
auto ProjectLibrary::perform(Work work) const {
  return runOn(state_->strand, onStrand(state_, std::move(work)));
}

Task<std::vector<ProjectStore::ProjectListItem>> ProjectLibrary::projects() const {
  return perform([](State& state) {
    std::vector<ProjectStore::ProjectListItem> items;
    for (const auto& entry : state.list()) items.push_back(ProjectStore::listItem(entry));
    return items;
  });
}

Task<std::map<std::string, ProjectShareRecord>> ProjectLibrary::shareRecords() const {
  return perform([](State& state) {
    std::map<std::string, ProjectShareRecord> records;
    for (const auto& entry : state.list())
      if (entry.share) records.emplace(entry.summary.id, *entry.share);
    return records;
  });
}

Task<StoredProject> ProjectLibrary::project(std::string id) const {
  return perform([id = std::move(id)](State& state) { return state.store.load(id); });
}

Task<ProjectStore::Registration> ProjectLibrary::registerRecording(
    RecordingHandoffFields recording, ProjectStore::CreateOptions options) const {
  return perform([recording = std::move(recording), options = std::move(options)](State& state) {
    auto registration = state.store.registerRecording(recording, options);
    if (registration.isNew) state.announce(ProjectChange::Kind::created, registration.entry);
    return registration;
  });
}

Task<ProjectRevision> ProjectLibrary::save(ProjectDocument document, ProjectRevision startedFrom) const {
  return perform([document = std::move(document), startedFrom](State& state) {
    return state
        .change(document.id, ProjectChange::Kind::saved,
                [&](StoredProject& stored) {
                  require(stored.revision.document == startedFrom.document);
                  stored.document = document;
                })
        .revision;
  });
}

Task<ProjectRevision> ProjectLibrary::writeEditorState(std::string id, ProjectEditorState editorState,
                                                       ProjectRevision startedFrom) const {
  return perform([id = std::move(id), editorState = std::move(editorState), startedFrom](State& state) {
    return state
        .change(id, ProjectChange::Kind::edited,
                [&](StoredProject& stored) {
                  if (stored.document.editorState == editorState) return;
                  require(stored.revision.editorState == startedFrom.editorState);
                  stored.document.editorState = editorState;
                  stored.document.updatedAt = Date::now().iso8601();
                })
        .revision;
  });
}

Task<ProjectShareRecord> ProjectLibrary::updateShare(std::string id,
                                                     std::function<void(ProjectShareRecord&)> change) const {
  return perform([id = std::move(id), change = std::move(change)](State& state) {
    return state
        .change(id, ProjectChange::Kind::shared,
                [&](StoredProject& stored) { change(stored.document.share); })
        .document.share;
  });
}

Task<> ProjectLibrary::rename(std::string id, std::string title) const {
  return perform([id = std::move(id), title = std::move(title)](State& state) {
    state.change(id, ProjectChange::Kind::renamed, [&](StoredProject& stored) {
      if (stored.document.title == title) return;
      stored.document.title = title;
      stored.document.updatedAt = Date::now().iso8601();
    });
  });
}

Task<> ProjectLibrary::delete_(std::string id) const {
  return perform([id = std::move(id)](State& state) {
    state.store.delete_(id);
    if (state.listed) state.listed->erase(id);
    state.changed.emit({id, ProjectChange::Kind::deleted});
  });
}

Task<> ProjectLibrary::exportProject(std::string id, std::filesystem::path bundle) const {
  return exportBundle(perform([id = std::move(id)](State& state) {
                        return ProjectStore::exported(state.store.load(id).document);
                      }),
                      std::move(bundle));
}

Task<ProjectDocument> ProjectLibrary::importProject(std::filesystem::path bundle,
                                                    std::filesystem::path mediaFolder) const {
  return importBundle(std::move(bundle), std::move(mediaFolder), [library = *this](SharedBundle copied) {
    return library.perform([copied = std::move(copied)](State& state) {
      auto document = copied->registerIn(state.store);
      state.announce(ProjectChange::Kind::created, document);
      return document;
    });
  });
}

Signal<ProjectChange>& ProjectLibrary::changed() const {
  return state_->changed;
}

}  // namespace quillant
