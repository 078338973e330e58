#pragma once

#include <optional>
#include <string>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"

/// What people name on the command line to share it.
namespace quillant::SharedProject {

/// A project by its id; or that of a bundle or a video, which becomes one the first time, and whose link is
/// the same ever after. `title` is for a new one. Throws an `Error` in words for the user.
Task<StoredProject> find(ProjectLibrary library, std::string subject, std::optional<std::string> title);

}  // namespace quillant::SharedProject
