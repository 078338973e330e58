#pragma once

#include <filesystem>

namespace quillant {

/// The folder of the wallpapers' pictures, for `WallpaperImageCache`: beside the program where it was built
/// (`<build>/wallpapers`), in its prefix's `share/quillant/wallpapers` where it is installed. That one too
/// where neither is there: its pictures are missing then. Without a program it is the one that runs.
std::filesystem::path wallpaperFolder(std::filesystem::path program = {});

}  // namespace quillant
