#pragma once

#include <string>

#include "Core/Task.h"

namespace quillant {

class EditorCoordinator;

/// What people name on the command line to have a video made of it.
namespace OpenedEdit {

/// Loads a video, a bundle or a project, as `subject` says, and the edit that it has. One without an edit
/// gets what a new project has: zooms on its clicks. Throws an `Error` in words for the user.
Task<> open(EditorCoordinator& coordinator, std::string subject);

}  // namespace OpenedEdit
}  // namespace quillant
