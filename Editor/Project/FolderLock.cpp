#include "Editor/Project/FolderLock.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>

#include "Core/AtomicFile.h"

namespace quillant {

namespace {

constexpr mode_t whatTheUmaskAllows = 0666;
constexpr std::chrono::seconds longestHeld(60);  // far longer than any read-modify-write

/// Calls `attempt` until it gives true; false if it still does not when `longest` is over.
template <class Attempt>
bool retry(std::chrono::milliseconds longest, Attempt&& attempt) {
  const auto deadline = std::chrono::steady_clock::now() + longest;
  auto pause = std::chrono::milliseconds(1);
  while (!attempt()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(50));
  }
  return true;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder, std::chrono::milliseconds longest) {
  std::error_code ignored;  // what cannot be made cannot be locked either
  std::filesystem::create_directories(folder, ignored);
  const auto path = folder / ".lock";
  const auto fail = [&](int error) { throw FileError("lock", path, {error, std::generic_category()}); };
  file_ = FileDescriptor(
      ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, whatTheUmaskAllows));
  if (!file_) fail(errno);
  int error = 0;
  bool taken = retry(longest, [&] {
    error = ::flock(file_.get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
    return error != EWOULDBLOCK && error != EINTR;
  });
  if (OwnerFile::isNeeded(error)) {
    error = 0;
    taken = retry(longest, [&] {
      if (auto owner = OwnerFile::take(folder / ".lock.owner", longestHeld))
        owner_.emplace(std::move(*owner));
      return owner_.has_value();
    });
  }
  if (!taken) fail(EBUSY);
  if (error != 0) fail(error);
}

}  // namespace quillant
