#include "Core/StagedFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/AtomicFile.h"
#include "Core/Folder.h"
#include "Core/UUID.h"

namespace quillant {

namespace {

FileError failure(const std::filesystem::path& target) {
  return {"write", target, {errno, std::generic_category()}};
}

}  // namespace

StagedFile::StagedFile(std::filesystem::path target, unsigned mode) : target_(std::move(target)) {
  const auto folder = Folder::of(target_);
  file_ = FileDescriptor(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
  if (file_ || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) {
    if (!file_) throw failure(target_);
    return;
  }
  temporary_ = folder / fmt::format(".{}.{}", target_.filename().string(), UUID::random().text());
  file_ = FileDescriptor(::open(temporary_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  if (!file_) {
    temporary_.clear();
    throw failure(target_);
  }
}

StagedFile::~StagedFile() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void StagedFile::write(std::uint64_t offset, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto written = ::pwrite(file_.get(), bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw failure(target_);
    offset += static_cast<std::uint64_t>(written);
    bytes = bytes.subspan(static_cast<std::size_t>(written));
    size_ = std::max(size_, offset);
  }
}

std::string StagedFile::readablePath() const {
  return fmt::format("/proc/self/fd/{}", file_.get());
}

void StagedFile::publish() {
  if (::fsync(file_.get()) != 0) throw failure(target_);
  const auto folder = Folder::of(target_);
  if (temporary_.empty()) {
    const auto named = folder / fmt::format(".{}.{}", target_.filename().string(), UUID::random().text());
    if (::linkat(AT_FDCWD, readablePath().c_str(), AT_FDCWD, named.c_str(), AT_SYMLINK_FOLLOW) != 0)
      throw failure(target_);
    temporary_ = named;
  }
  if (!file_.close() || ::rename(temporary_.c_str(), target_.c_str()) != 0) throw failure(target_);
  temporary_.clear();
  // The new file is in place; a folder that cannot be synced does not undo that.
  Folder::sync(folder);
}

}  // namespace quillant
