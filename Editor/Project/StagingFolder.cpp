#include "Editor/Project/StagingFolder.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/Folder.h"
#include "Core/UUID.h"
#include "Editor/Project/ExclusiveRename.h"

namespace quillant {

namespace {

constexpr std::size_t randomLength = 6;

FileDescriptor openFolder(const std::filesystem::path& path) {
  return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// Whether nobody fills the folder any more. One that was made a moment ago may not be locked yet; where
/// there are no locks, nobody needs a whole day.
bool isAbandoned(const std::filesystem::path& path) {
  constexpr std::time_t toLock = 60;
  constexpr std::time_t toFill = 24 * 60 * 60;
  const auto folder = openFolder(path);
  struct stat status {};
  if (!folder || ::fstat(folder.get(), &status) != 0) return false;
  const auto age = std::time(nullptr) - status.st_mtime;
  if (::flock(folder.get(), LOCK_EX | LOCK_NB) == 0) return age > toLock;
  return errno != EWOULDBLOCK && age > toFill;
}

void removeAbandoned(const std::filesystem::path& parent, const std::string& prefix) {
  std::error_code error;
  std::filesystem::directory_iterator entry(parent, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    const auto name = entry->path().filename().string();
    std::error_code ignored;
    if (name.starts_with(prefix) && name.size() == prefix.size() + randomLength && isAbandoned(entry->path()))
      std::filesystem::remove_all(entry->path(), ignored);
  }
}

}  // namespace

StagingFolder::StagingFolder(std::filesystem::path parent, const std::string& name)
    : parent_(std::move(parent)) {
  const auto prefix = "." + name + ".";
  removeAbandoned(parent_, prefix);
  constexpr int tries = 100;
  constexpr mode_t whatTheUmaskAllows = 0777;
  int made = -1;
  for (int i = 0; made != 0 && (i == 0 || (errno == EEXIST && i < tries)); ++i) {
    path_ = parent_ / (prefix + UUID::random().text().substr(0, randomLength));
    made = ::mkdir(path_.c_str(), whatTheUmaskAllows);
  }
  if (made != 0) throw FileError("write", std::exchange(path_, {}), {errno, std::generic_category()});
  lock_ = openFolder(path_);
  if (lock_) ::flock(lock_.get(), LOCK_EX | LOCK_NB);
}

StagingFolder::StagingFolder(StagingFolder&& other) noexcept
    : parent_(std::move(other.parent_)),
      path_(std::exchange(other.path_, {})),
      lock_(std::move(other.lock_)) {}

StagingFolder::~StagingFolder() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

void StagingFolder::moveTo(const std::filesystem::path& target) {
  sync(path_);
  ExclusiveRename::move(path_, target);
  path_.clear();
  sync(parent_);
}

void StagingFolder::sync(const std::filesystem::path& folder) {
  if (const auto error = Folder::sync(folder)) throw FileError("write", folder, error);
}

}  // namespace quillant
