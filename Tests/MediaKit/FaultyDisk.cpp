#include "Tests/MediaKit/FaultyDisk.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fmt/format.h>
#include <optional>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillant::FaultyDisk {

namespace {

std::atomic<bool> isArmed = false;
std::atomic<Fault> planned = Fault::fails;
std::atomic<int> callsBefore = 0;
std::atomic<bool> wasMet = false;
std::atomic<bool> isTorn = false;  ///< The next write fails.
std::atomic<bool> isStalled = false;

bool isMovie(int descriptor) {
  char path[4096];
  const auto length = ::readlink(fmt::format("/proc/self/fd/{}", descriptor).c_str(), path, sizeof path);
  return length > 0 && std::string_view(path, static_cast<std::size_t>(length)).ends_with(".mp4");
}

enum class Call { write, sync, other };

std::optional<Fault> next(int descriptor, Call call) {
  if (!isArmed || (planned == Fault::tears && call != Call::write) ||
      (planned == Fault::neverSyncs && call != Call::sync) || !isMovie(descriptor))
    return std::nullopt;
  if (planned != Fault::neverSyncs && callsBefore-- != 0) return std::nullopt;
  wasMet = true;
  return planned;
}

int refuse(int error) {
  errno = error;
  return -1;
}

[[noreturn]] void die() {
  ::kill(::getpid(), SIGKILL);
  ::_exit(1);
}

/// The fault of a call that is no write: whether it is to fail.
bool fails(int descriptor, Call call = Call::other) {
  const auto fault = next(descriptor, call);
  if (fault == Fault::kills) die();
  return fault.has_value();
}

}  // namespace

void arm(Fault fault, int step) {
  planned = fault;
  callsBefore = step;
  wasMet = isTorn = false;
  isArmed = true;
}

bool disarm() {
  isArmed = false;
  return wasMet;
}

Stall::Stall() {
  isStalled = true;
}

Stall::~Stall() {
  isStalled = false;
  isStalled.notify_all();
}

}  // namespace quillant::FaultyDisk

using namespace quillant::FaultyDisk;

extern "C" ssize_t pwrite(int descriptor, const void* bytes, std::size_t count, off_t offset) {
  if (isStalled && isMovie(descriptor)) isStalled.wait(true);
  if (isArmed && isTorn) return refuse(ENOSPC);
  const auto fault = next(descriptor, Call::write);
  if (fault == Fault::fails) return refuse(ENOSPC);
  if (fault) count /= 2;
  isTorn = fault == Fault::tears;
  const auto done = ::syscall(SYS_pwrite64, descriptor, bytes, count, offset);
  if (fault == Fault::kills) die();
  return done;
}

extern "C" ssize_t pread(int descriptor, void* bytes, std::size_t count, off_t offset) {
  if (fails(descriptor)) return refuse(EIO);
  return ::syscall(SYS_pread64, descriptor, bytes, count, offset);
}

extern "C" int fdatasync(int descriptor) {
  if (fails(descriptor, Call::sync)) return refuse(EIO);
  return static_cast<int>(::syscall(SYS_fdatasync, descriptor));
}

extern "C" int ftruncate(int descriptor, off_t size) noexcept {
  if (fails(descriptor)) return refuse(EIO);
  return static_cast<int>(::syscall(SYS_ftruncate, descriptor, size));
}

extern "C" int close(int descriptor) {
  const bool isLost = fails(descriptor);
  const int result = static_cast<int>(::syscall(SYS_close, descriptor));
  return isLost ? refuse(EIO) : result;
}
