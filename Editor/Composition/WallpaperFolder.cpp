#include "Editor/Composition/WallpaperFolder.h"

#include <system_error>

namespace quillant {

std::filesystem::path wallpaperFolder(std::filesystem::path program) {
  std::error_code failure;
  if (program.empty()) program = std::filesystem::read_symlink("/proc/self/exe", failure);
  const auto folder = program.parent_path();
  const auto built = folder / "wallpapers";
  if (std::filesystem::is_directory(built, failure)) return built;
  return folder.parent_path() / "share/quillant/wallpapers";
}

}  // namespace quillant
