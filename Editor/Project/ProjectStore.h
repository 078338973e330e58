#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Core/Error.h"
#include "Editor/Project/EditorStateHolding.h"
#include "Editor/Project/ProjectDocument.h"
#include "Editor/Project/ProjectIndex.h"
#include "Editor/Project/ProjectRevision.h"

namespace quillant {

/// The projects in one folder: a document each, as `<id>.json`, and `index.json`, the list of them. Media
/// lies elsewhere; documents point at it by absolute path.
///
/// A plain value; every operation blocks on the disk, and only `ProjectLibrary` calls it in the program. What
/// writes holds a lock in the folder meanwhile, so that several processes may use one store. Reads are
/// tolerant: what does not read counts as absent. A write that fails throws `FileError` and leaves the old
/// document whole; a document with a path that is not UTF-8 is refused with a `ProjectError`. The index is a
/// cache: that it could not be written fails nothing.
struct ProjectStore {
  std::filesystem::path directory;

  class StoreError : public Error {
   public:
    StoreError(std::string existing, std::string attempted);
    const std::string& existing() const { return existing_; }
    const std::string& attempted() const { return attempted_; }

   private:
    std::string existing_;
    std::string attempted_;
  };

  /// A project as a library shows it.
  struct ProjectListItem {
    std::string id;
    std::string title;
    std::optional<std::string> sourceName;
    std::optional<std::string> recordingPath;
    std::optional<std::string> screenshotPath;
    std::string createdAt;
    std::string updatedAt;
    ProjectShareStatus shareStatus = ProjectShareStatus::none;
    std::optional<std::string> shareURL;
    std::optional<std::string> interruptedCause;
    friend bool operator==(const ProjectListItem&, const ProjectListItem&) = default;
  };

  /// What of a project leaves the store; `ProjectBundle` puts it into a folder.
  struct ExportedProject {
    std::string projectJSON;  ///< A `ProjectManifest`.
    std::optional<std::string> editorStateJSON;
    std::optional<std::string> screenVideoPath;
    std::optional<std::string> cursorTelemetryPath;
    std::optional<std::string> facecamVideoPath;
    std::string suggestedName;  ///< The title as a file name, without extension.
  };

  struct CreateOptions {
    std::string id;
    std::string title;
    std::string createdAt;
    std::string updatedAt;
    std::optional<std::string> interruptedCause;
  };
  ProjectDocument create(const RecordingHandoffFields& recording, const CreateOptions& options) const;
  struct Registration {
    ProjectIndexEntry entry;
    bool isNew = true;
  };
  /// The project of a recording: the one that has it already, or else a new one as `create` makes it. Of
  /// several who register the same recording at once, one makes the project.
  Registration registerRecording(const RecordingHandoffFields& recording, const CreateOptions& options) const;
  void createDocument(const ProjectDocument& document) const;
  /// Throws `StoreError` if the stored document has another slug.
  void saveDocument(const ProjectDocument& document) const;
  std::optional<ProjectDocument> document(std::string_view id) const;

  // Where a missing document must be distinguished from an unreadable one: these throw `ProjectError`.
  StoredProject load(std::string_view id) const;
  /// Lets `change` change what is stored, and writes it if it differs; nobody else writes meanwhile. What
  /// `change` throws leaves it as it was. Throws `StoreError` if it replaced the slug by another.
  StoredProject changeProject(std::string_view id, const std::function<void(StoredProject&)>& change) const;

  // Of a document that cannot be read these change nothing, without an error.
  void writeEditorState(std::string_view id, const ProjectEditorState& editorState) const;
  void updateShare(std::string_view id, const ProjectShareRecord& record) const;
  void rename(std::string_view id, const std::string& title) const;

  void saveEditorState(const EditorStateHolding& holder, std::string_view id) const;
  /// False if there is no editor state to restore.
  bool restoreEditorState(EditorStateHolding& holder, std::string_view id) const;

  RecordingHandoffFields recording(std::string_view id) const;
  std::optional<ProjectShareRecord> share(std::string_view id) const;
  std::map<std::string, ProjectShareRecord> shareRecords() const;
  /// What the index lists, latest change first.
  std::vector<ProjectListItem> projects() const;

  /// Removes the document and its entry in the index. The media stays: it may be the only copy.
  void delete_(std::string_view id) const;
  /// Brings the index up to the documents that are in the folder, of which it reads those that changed since
  /// they were listed. Throws `FileError` if the folder cannot be listed.
  std::vector<ProjectIndexEntry> refreshIndex() const;
  static ProjectListItem listItem(const ProjectIndexEntry& entry);
  /// Removes what killed writers left in the folder.
  void removeTemporaries() const;

  std::optional<ExportedProject> exportedProject(std::string_view id) const;
  static ExportedProject exported(const ProjectDocument& document);
  /// A new project, under a fresh id, of an exported one whose media is at the given paths. It keeps its link
  /// unless a project of this store has it already. Throws `JSONError` if either text does not read.
  ProjectDocument importProject(std::string_view projectJSON,
                                const std::optional<std::string>& editorStateJSON,
                                const RecordingHandoffFields& media) const;

 private:
  std::filesystem::path documentPath(std::string_view id) const;
  void changeIfReadable(std::string_view id, const std::function<void(ProjectDocument&)>& change) const;
  void writeDocument(const ProjectDocument& document) const;
  void writeIndex(std::vector<ProjectIndexEntry> entries) const;
  /// Without a document, the id leaves the index.
  void updateIndex(std::string_view id, const ProjectDocument* document) const;
};

}  // namespace quillant
