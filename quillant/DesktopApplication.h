#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "quillant/PlatformServices.h"

/// The program as people meet it: an item in the tray, and a panel.
namespace quillant::DesktopApplication {

/// Until the user quits; a second start of a session hands `files` to the first, and ends. Returns the
/// process's exit code. On the main thread.
int run(PlatformServices& platform, const std::vector<std::filesystem::path>& files);

}  // namespace quillant::DesktopApplication
