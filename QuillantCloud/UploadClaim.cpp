#include "QuillantCloud/UploadClaim.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"

namespace quillant {

namespace {

/// By which a claim from another machine counts as left over, on a file system without locks.
constexpr std::chrono::hours longestRun(24);

std::filesystem::path ownerFile(std::filesystem::path file) {
  return file += ".owner";
}

/// The whole file, for `fcntl`. These locks belong to the open file, so that they hold between two threads
/// of one process too.
struct flock wholeFile() {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return lock;
}

FileDescriptor open(const std::filesystem::path& file, int flags) {
  constexpr mode_t ownersOnly = 0600;
  // A pipe with that name would wait for its other end.
  return FileDescriptor(::open(file.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, ownersOnly));
}

/// Whether the name is still that of the file that was opened: who had the claim before removed theirs.
bool isStillAt(const std::filesystem::path& file, const struct stat& opened) {
  struct stat named {};
  return ::lstat(file.c_str(), &named) == 0 && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

UploadClaim::UploadClaim(std::filesystem::path file, FileDescriptor lock, std::optional<OwnerFile> owner)
    : file_(std::move(file)), lock_(std::move(lock)), owner_(std::move(owner)) {}

UploadClaim::~UploadClaim() {
  if (lock_) ::unlink(file_.c_str());
}

std::optional<UploadClaim> UploadClaim::take(const std::filesystem::path& file) {
  constexpr int mostTries = 100;
  for (int tries = 0; tries < mostTries; ++tries) {
    auto lock = open(file, O_RDWR | O_CREAT);
    struct stat opened {};
    if (!lock || ::fstat(lock.get(), &opened) != 0)
      throw FileError("lock", file, {errno, std::generic_category()});
    if (!S_ISREG(opened.st_mode)) throw FileError("lock", file, std::make_error_code(std::errc::file_exists));
    auto whole = wholeFile();
    if (::fcntl(lock.get(), F_OFD_SETLK, &whole) != 0) {
      const int error = errno;
      if (error == EAGAIN || error == EACCES) return std::nullopt;
      if (!OwnerFile::isNeeded(error)) throw FileError("lock", file, {error, std::generic_category()});
      auto owner = OwnerFile::take(ownerFile(file), longestRun);
      if (!owner) return std::nullopt;
      return UploadClaim(file, std::move(lock), std::move(owner));
    }
    if (!isStillAt(file, opened)) continue;
    const auto process = std::to_string(::getpid());
    // What is written there is only informative.
    [[maybe_unused]] const bool told =
        ::ftruncate(lock.get(), 0) == 0 && ::pwrite(lock.get(), process.data(), process.size(), 0) > 0;
    return UploadClaim(file, std::move(lock), std::nullopt);
  }
  throw FileError("lock", file, std::make_error_code(std::errc::device_or_resource_busy));
}

std::optional<pid_t> UploadClaim::holder(const std::filesystem::path& file) {
  const auto opened = open(file, O_RDONLY);
  auto whole = wholeFile();
  if (!opened) return std::nullopt;
  if (::fcntl(opened.get(), F_OFD_GETLK, &whole) != 0) return OwnerFile::owner(ownerFile(file));
  if (whole.l_type == F_UNLCK) return std::nullopt;
  char text[16];
  const auto size = ::pread(opened.get(), text, sizeof text, 0);
  pid_t process = 0;
  if (size > 0) std::from_chars(text, text + size, process);
  return process;
}

}  // namespace quillant
