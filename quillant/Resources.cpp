#include "quillant/Resources.h"

#include <system_error>

namespace quillant::Resources {

std::filesystem::path wallpapers() {
  std::error_code failed;
  const auto folder = std::filesystem::read_symlink("/proc/self/exe", failed).parent_path();
  const auto built = folder / "wallpapers";
  if (std::filesystem::is_directory(built, failed)) return built;
  return folder.parent_path() / "share/quillant/wallpapers";
}

}  // namespace quillant::Resources
