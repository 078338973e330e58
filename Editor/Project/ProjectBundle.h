#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Core/Error.h"
#include "Editor/Project/ProjectManifest.h"
#include "Editor/Project/ProjectStore.h"
#include "Editor/Project/StagingFolder.h"

namespace quillant {

/// Why a bundle could not be written or read.
class BundleError : public Error {
 public:
  enum class Kind {
    exists,        ///< something is already where the bundle should go
    missingMedia,  ///< the screen video is not there
    notABundle,    ///< no folder, or without a manifest that reads
    unsafe,        ///< something in it is no plain file, or names a place outside
  };
  BundleError(Kind kind, std::string description) : Error(std::move(description)), kind_(kind) {}
  Kind kind() const { return kind_; }

 private:
  Kind kind_;
};

/// A project as a folder "….quillant" that holds all of it:
/// `project.json`, `editorState.json`, `screen.mp4`, `screen.cursor.json`, `screen.facecam.mov`, and
/// `screen.source-…` for every file that was added. Blocking; throws `BundleError`, `FileError` or
/// `JSONError`.
namespace ProjectBundle {

/// Writes the bundle to `path`, which must not exist. It appears whole, or, after a crash or a failure, not
/// at all. Media is hard-linked where the file system allows it and copied elsewhere. Sidecars that have
/// disappeared are left out.
void write(const ProjectStore::ExportedProject& project, const std::filesystem::path& path);

/// What a bundle holds, used where it lies.
struct Contents {
  ProjectManifest manifest;
  std::optional<ProjectEditorState> editorState;
  RecordingHandoffFields media;
};
/// Refuses a bundle that names or links anything outside of itself.
Contents read(const std::filesystem::path& path);

/// A bundle whose media has been copied beside the place where it will lie, and is removed again unless it
/// becomes a project. Nothing outside the bundle is read and nothing outside the folder is written, whatever
/// the bundle holds.
class CopiedBundle {
 public:
  CopiedBundle(const std::filesystem::path& path, const std::filesystem::path& mediaFolder);
  /// Puts the media into its place and registers a new project for it, once. Of a failure nothing remains.
  ProjectDocument registerIn(const ProjectStore& store);

 private:
  StagingFolder staging_;
  std::vector<std::string> names_;
  RecordingHandoffFields media_;  ///< The places where it will lie.
  std::string projectJSON_;
  std::optional<std::string> editorStateJSON_;
};

}  // namespace ProjectBundle
}  // namespace quillant
