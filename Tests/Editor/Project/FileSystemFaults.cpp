#include "Tests/Editor/Project/FileSystemFaults.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillant {

namespace {
FileSystemFaults* faults = nullptr;
}  // namespace

FileSystemFaults::FileSystemFaults() {
  faults = this;
}
FileSystemFaults::~FileSystemFaults() {
  faults = nullptr;
}

namespace {

int fail(int error) {
  errno = error;
  return -1;
}

bool matches(const char* path, const std::string& ending) {
  return !ending.empty() && std::string_view(path).ends_with(ending);
}

}  // namespace
}  // namespace quillant

using quillant::faults;

// By another name here: a struct of the C library has that one.
extern "C" int lockFile(int file, int operation) noexcept __asm__("flock");

extern "C" int lockFile(int file, int operation) noexcept {
  if (faults && faults->lockError != 0) return quillant::fail(faults->lockError);
  return static_cast<int>(::syscall(SYS_flock, file, operation));
}

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept {
  if (faults && faults->renameError != 0) return quillant::fail(faults->renameError);
  return static_cast<int>(::syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

extern "C" int open(const char* path, int flags, ...) {
  if (faults && quillant::matches(path, faults->unreadable)) return quillant::fail(EIO);
  if (faults && quillant::matches(path, faults->counted)) ++faults->opened;
  va_list rest;
  va_start(rest, flags);
  const auto mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}
