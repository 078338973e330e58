#include "Core/PrivateFolder.h"

#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "Core/AtomicFile.h"

namespace quillant {

void PrivateFolder::ensure(const std::filesystem::path& folder) {
  constexpr mode_t ownersOnly = 0700;
  constexpr mode_t othersAccess = 0077;
  const auto fail = [&](int number) {
    throw FileError("use the private folder", folder, {number, std::generic_category()});
  };
  std::error_code error;
  std::filesystem::create_directories(folder.parent_path(), error);
  if (::mkdir(folder.c_str(), ownersOnly) != 0 && errno != EEXIST) fail(errno);
  struct stat status {};
  if (::lstat(folder.c_str(), &status) != 0) fail(errno);
  if (!S_ISDIR(status.st_mode)) fail(ENOTDIR);
  if (status.st_uid != ::geteuid()) fail(EPERM);
  if ((status.st_mode & othersAccess) != 0 && ::chmod(folder.c_str(), ownersOnly) != 0) fail(errno);
}

}  // namespace quillant
