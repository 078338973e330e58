#include "Editor/Project/ExclusiveRename.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/AtomicFile.h"

namespace quillant {

namespace {

bool isFolder(const std::filesystem::path& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Never replaces what holds anything: a file is no place for a folder, and a full folder neither.
bool moveInSteps(const char* from, const char* to) {
  if (isFolder(from)) return ::rename(from, to) == 0;
  return ::link(from, to) == 0 && ::unlink(from) == 0;
}

}  // namespace

void ExclusiveRename::move(const std::filesystem::path& from, const std::filesystem::path& to) {
  bool moved = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0;
  if (!moved && (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP))
    moved = moveInSteps(from.c_str(), to.c_str());
  if (!moved) throw FileError("write", to, {errno, std::generic_category()});
}

}  // namespace quillant
