#include "Core/Folder.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "Core/FileDescriptor.h"

namespace quillant::Folder {

std::filesystem::path of(const std::filesystem::path& file) {
  return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

std::error_code sync(const std::filesystem::path& folder) noexcept {
  const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened && ::fsync(opened.get()) == 0) return {};
  return {errno, std::generic_category()};
}

}  // namespace quillant::Folder
