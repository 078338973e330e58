#include "Editor/Project/FolderLock.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

#include "Core/AtomicFile.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

constexpr mode_t whatTheUmaskAllows = 0666;
constexpr std::time_t staleAfter = 60;  // far longer than any read-modify-write
constexpr std::size_t longestIdentity = 256;

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

bool isUnsupported(int error) {
  return error == ENOSYS || error == EOPNOTSUPP || error == EINVAL || error == ENOLCK;
}

std::string contentsOf(const std::filesystem::path& path) {
  try {
    return AtomicFile::read(path, longestIdentity);
  } catch (const FileError&) {
    return {};
  }
}

/// This run of this machine, by which process numbers mean something.
std::string bootID() {
  auto id = contentsOf("/proc/sys/kernel/random/boot_id");
  std::erase(id, '\n');
  return id;
}

bool isStale(const std::filesystem::path& holder) {
  struct stat status {};
  if (::lstat(holder.c_str(), &status) != 0) return false;
  if (std::time(nullptr) - status.st_mtime > staleAfter) return true;
  int process = 0;
  const auto ofThisMachine = bootID() + " ";
  const auto identity = contentsOf(holder);
  if (!identity.starts_with(ofThisMachine)) return false;
  std::sscanf(identity.c_str() + ofThisMachine.size(), "%d", &process);
  return process > 0 && ::kill(process, 0) != 0 && errno == ESRCH;
}

/// Makes `path`, which nobody else has made, with `contents`. False if it is there already.
bool claim(const std::filesystem::path& path, const std::string& contents) {
  const FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, whatTheUmaskAllows));
  if (!file && errno == EEXIST) return false;
  if (!file) throw FileError("lock", path, {errno, std::generic_category()});
  if (::write(file.get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size())) {
    const std::error_code error(errno, std::generic_category());
    ::unlink(path.c_str());
    throw FileError("lock", path, error);
  }
  return true;
}

/// Takes the lock away from a holder that died. One process at a time does so, or a second could take away
/// what a third has just made.
void removeStale(const std::filesystem::path& holder, const std::string& identity) {
  if (!isStale(holder)) return;
  auto guard = holder;
  guard += ".removal";
  if (!claim(guard, identity)) {
    if (isStale(guard)) ::unlink(guard.c_str());
    return;
  }
  if (isStale(holder)) ::unlink(holder.c_str());
  ::unlink(guard.c_str());
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
  if (isUnsupported(error)) {
    error = 0;
    const auto holder = folder / ".lock.owner";
    identity_ = fmt::format("{} {} {}", bootID(), ::getpid(), UUID::random().text());
    taken = retry(longest, [&] {
      removeStale(holder, identity_);
      return claim(holder, identity_);
    });
    if (taken) holder_ = holder;
  }
  if (!taken) fail(EBUSY);
  if (error != 0) fail(error);
}

FolderLock::~FolderLock() {
  // Held for far too long, it may be somebody else's by now.
  if (!holder_.empty() && contentsOf(holder_) == identity_) ::unlink(holder_.c_str());
}

}  // namespace quillant
