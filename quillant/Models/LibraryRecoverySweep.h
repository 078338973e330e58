#pragma once

#include <filesystem>
#include <functional>

#include "Core/Task.h"
#include "Editor/Project/ProjectLibrary.h"

/// What the desktop does at its launch about recordings that an interrupted run left behind.
namespace quillant::LibraryRecoverySweep {

/// Registers a project for every playable one in `directory`, and takes the markers away: none is offered
/// again. The media stays, whatever the verdict. Calls `onChanged` if any project was registered.
Task<> run(ProjectLibrary library, std::filesystem::path directory, std::function<void()> onChanged);

}  // namespace quillant::LibraryRecoverySweep
