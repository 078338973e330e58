#include "Editor/Project/FolderLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

#include "Core/AtomicFile.h"

namespace quillant {

FolderLock::FolderLock(const std::filesystem::path& folder) {
  std::error_code ignored;  // what cannot be made cannot be locked either
  std::filesystem::create_directories(folder, ignored);
  const auto path = folder / ".lock";
  file_ = FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  int result = file_ ? ::flock(file_.get(), LOCK_EX) : -1;
  while (file_ && result != 0 && errno == EINTR) result = ::flock(file_.get(), LOCK_EX);
  if (result != 0) throw FileError("lock", path, {errno, std::generic_category()});
}

}  // namespace quillant
