#pragma once

#include <memory>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"

namespace quillant {

class EditorCoordinator;

/// What people name on the command line to have a video made of it.
namespace OpenedEdit {

/// A coordinator to open it with, on the main thread.
std::shared_ptr<EditorCoordinator> makeCoordinator(const Executor& mainThread);

/// Loads a video, a bundle or a project, as `subject` says, and the edit that it has. One without an edit
/// gets what a new project has: zooms on its clicks. Throws an `Error` in words for the user.
Task<> open(EditorCoordinator& coordinator, std::string subject);
/// The same of a project that was read.
Task<> open(EditorCoordinator& coordinator, ProjectDocument project);

/// The project of this id. Throws an `Error` in words for the user.
Task<StoredProject> project(ProjectLibrary library, std::string id);

}  // namespace OpenedEdit
}  // namespace quillant
