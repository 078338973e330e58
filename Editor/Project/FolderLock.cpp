#include "Editor/Project/FolderLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "Core/AtomicFile.h"

namespace quillant {

FolderLock::FolderLock(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  const auto path = folder / ".lock";
  descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor_ < 0) throw FileError("lock", path, {errno, std::generic_category()});
  while (::flock(descriptor_, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    const std::error_code failure(errno, std::generic_category());
    ::close(descriptor_);
    throw FileError("lock", path, failure);
  }
}

FolderLock::~FolderLock() {
  ::close(descriptor_);
}

}  // namespace quillant
