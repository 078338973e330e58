#include "MediaKit/Writing/FragmentFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"

namespace quillant {

namespace {

constexpr std::size_t nameSize = 8;  ///< A box begins with its size and its type.

template <std::size_t count>
void putBigEndian(std::uint8_t* at, std::uint64_t value) {
  for (std::size_t i = 0; i < count; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * (count - 1 - i)));
}

/// A box of 16 bytes that readers skip: room for the head of one with a 64-bit size.
constexpr std::array<std::uint8_t, 16> room{0, 0, 0, 16, 'f', 'r', 'e', 'e'};

}  // namespace

FragmentFile::FragmentFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& fileType)
    : path_(path), roomOffset_(fileType.size()) {
  file_ = FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!file_) throwLastError();
  writeAt(0, fileType.data(), fileType.size());
  writeAt(roomOffset_, room.data(), room.size());
  written_ = roomOffset_ + room.size();
}

void FragmentFile::append(std::vector<std::uint8_t> boxes) {
  backlog_ += boxes.size();
  queue_.async([this, boxes = std::move(boxes)] {
    attempt([&] { writeWhole(boxes); });
    backlog_ -= boxes.size();
    syncSoon();
  });
}

/// Only a loss of power needs this. A busy disk may take seconds for it, which must not keep the next
/// fragment from being written; and one that cannot do it at all is no reason to end a recording.
void FragmentFile::syncSoon() {
  if (syncWaits_.exchange(true)) return;
  syncQueue_.async([this] {
    syncWaits_ = false;
    ::fdatasync(file_.get());
  });
}

std::uint64_t FragmentFile::flush() {
  return queue_.sync([this] { return written_; });
}

void FragmentFile::closeWith(const std::vector<std::uint8_t>& index) {
  queue_.sync([&] {
    attempt([&] {
      const auto end = written_;
      writeWhole(index);
      ::fdatasync(file_.get());
      std::array<std::uint8_t, 16> head{0, 0, 0, 1, 'm', 'd', 'a', 't'};
      putBigEndian<8>(head.data() + 8, end - roomOffset_);
      writeAt(roomOffset_, head.data(), head.size());
      ::fdatasync(file_.get());
    });
  });
}

std::exception_ptr FragmentFile::error() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

void FragmentFile::attempt(const std::function<void()>& work) {
  if (error()) return;
  try {
    work();
  } catch (...) {
    // Whatever stands behind the last whole box would only puzzle a reader.
    [[maybe_unused]] const int ignored = ::ftruncate(file_.get(), static_cast<off_t>(written_));
    const std::lock_guard lock(mutex_);
    error_ = std::current_exception();
  }
}

void FragmentFile::writeWhole(const std::vector<std::uint8_t>& boxes) {
  writeAt(written_ + nameSize, boxes.data() + nameSize, boxes.size() - nameSize);
  writeAt(written_, boxes.data(), nameSize);
  written_ += boxes.size();
}

void FragmentFile::writeAt(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    const auto done = ::pwrite(file_.get(), bytes, count, static_cast<off_t>(offset));
    if (done < 0 && errno == EINTR) continue;
    if (done < 0) throwLastError();
    offset += static_cast<std::uint64_t>(done);
    bytes += done;
    count -= static_cast<std::size_t>(done);
  }
}

void FragmentFile::throwLastError() const {
  throw FileError("write", path_, {errno, std::generic_category()});
}

}  // namespace quillant
