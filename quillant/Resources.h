#pragma once

#include <filesystem>

/// The files that come with the program.
namespace quillant::Resources {

/// The wallpapers' pictures: where they were installed, or where they were drawn if the program runs out of
/// its build folder.
std::filesystem::path wallpapers();

}  // namespace quillant::Resources
