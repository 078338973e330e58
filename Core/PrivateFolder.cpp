#include "Core/PrivateFolder.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "Core/AtomicFile.h"

namespace quillant {

namespace {

/// The error number of what keeps `path` from being this user's alone, of that type and, from now on, of that
/// mode; 0 if nothing does.
int obstacle(const std::filesystem::path& path, mode_t type, int otherType, mode_t ownersOnly) {
  constexpr mode_t othersAccess = 0077;
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return errno;
  if ((status.st_mode & S_IFMT) != type) return otherType;
  if (status.st_uid != ::geteuid()) return EPERM;
  return (status.st_mode & othersAccess) != 0 && ::chmod(path.c_str(), ownersOnly) != 0 ? errno : 0;
}

}  // namespace

void PrivateFolder::ensure(const std::filesystem::path& folder) {
  constexpr mode_t ownersOnly = 0700;
  std::error_code error;
  std::filesystem::create_directories(folder.parent_path(), error);
  const bool made = ::mkdir(folder.c_str(), ownersOnly) == 0 || errno == EEXIST;
  if (const int number = made ? obstacle(folder, S_IFDIR, ENOTDIR, ownersOnly) : errno)
    throw FileError("use the private folder", folder, {number, std::generic_category()});
}

void PrivateFolder::ensureFile(const std::filesystem::path& file) {
  constexpr mode_t ownersOnly = 0600;
  if (const int number = obstacle(file, S_IFREG, EPERM, ownersOnly))
    throw FileError("use the private file", file, {number, std::generic_category()});
}

}  // namespace quillant
