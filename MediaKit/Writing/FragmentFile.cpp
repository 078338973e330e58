#include "MediaKit/Writing/FragmentFile.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "Core/AtomicFile.h"
#include "Core/Error.h"
#include "MediaKit/MediaError.h"
#include "MediaKit/Writing/SessionStart.h"

namespace quillant {

namespace {

constexpr std::size_t nameSize = 8;  ///< A box begins with its size and its type.

/// A box of 16 bytes that readers skip: room for the head of one with a 64-bit size.
constexpr std::array<std::uint8_t, 16> room{0, 0, 0, 16, 'f', 'r', 'e', 'e'};
/// What the room begins with in an ordinary file: its second half is the size then.
constexpr std::array<std::uint8_t, nameSize> mediaData{0, 0, 0, 1, 'm', 'd', 'a', 't'};

std::array<std::uint8_t, 8> bigEndian(std::uint64_t value) {
  std::array<std::uint8_t, 8> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(value >> (56 - 8 * i));
  return bytes;
}

/// What happened, without the path that stands beside it anyway.
std::string reason(const std::exception_ptr& error) {
  try {
    std::rethrow_exception(error);
  } catch (const FileError& refused) {
    return refused.code().message();
  } catch (...) {
    return describe(error);
  }
}

}  // namespace

FragmentFile::FragmentFile(const std::filesystem::path& path, FragmentMuxer::Head head)
    : path_(path), movie_(std::move(head.movie)), index_(movie_), roomOffset_(head.fileType.size()) {
  file_ = FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!file_) throwError(errno);
  writeAt(0, head.fileType.data(), head.fileType.size());
  writeAt(roomOffset_, room.data(), room.size());
  written_ = roomOffset_ + room.size();
}

void FragmentFile::setSessionStart(MediaTime start) {
  movie_ = SessionStart::added(movie_, start);
  index_ = ClosingIndex(movie_);  // nothing is on the queue yet
}

void FragmentFile::append(std::vector<std::uint8_t> fragment) {
  fragment.insert(fragment.begin(), movie_.begin(), movie_.end());
  const auto size = fragment.size();
  backlog_ += size;
  try {
    queue_.async([this, boxes = std::move(fragment)] {
      if (!error()) writeFragment(boxes);
      backlog_ -= boxes.size();
      syncSoon();
    });
  } catch (...) {  // no memory to hand it over: what was to be written with it is still to be written
    backlog_ -= size;
    throw;
  }
  movie_.clear();
}

void FragmentFile::writeFragment(const std::vector<std::uint8_t>& boxes) {
  const auto offset = written_;
  try {
    writeWhole(boxes);
  } catch (...) {
    // What lies behind the last whole box would only confuse a reader.
    cutOffAt(offset);
    const std::lock_guard lock(mutex_);
    error_ = std::current_exception();
    return;
  }
  if (indexFailure_) return;
  try {
    index_.add(boxes, offset);
  } catch (...) {
    indexFailure_ = std::current_exception();
  }
}

/// Only a loss of power needs this. A busy disk may take seconds for it, which must not keep the next
/// fragment from being written; and one that cannot do it at all is no reason to end a recording.
void FragmentFile::syncSoon() {
  if (syncWaits_.exchange(true)) return;
  try {
    syncQueue_.async([this] {
      syncWaits_ = false;
      sync();
    });
  } catch (...) {  // no memory to ask for it: the next fragment does
    syncWaits_ = false;
  }
}

void FragmentFile::sync() {
  while (::fdatasync(file_.get()) != 0) {
    if (errno == EINTR) continue;
    int none = 0;
    syncFailure_.compare_exchange_strong(none, errno);
    return;
  }
}

void FragmentFile::close() {
  queue_.sync([this] {
    if (!error() && written_ > roomOffset_ + room.size()) {
      try {
        makeOrdinary();
      } catch (...) {
        const std::lock_guard lock(mutex_);
        whyFragmented_ = std::current_exception();
      }
    }
    syncQueue_.sync([this] { sync(); });
    int none = 0;
    if (!file_.close() && errno != EINTR) syncFailure_.compare_exchange_strong(none, errno);
  });
}

void FragmentFile::makeOrdinary() {
  if (indexFailure_) std::rethrow_exception(indexFailure_);
  requireUntouched();
  const auto end = written_;
  try {
    writeWhole(index_.finish());
    // Means nothing as long as the box around it is free.
    const auto size = bigEndian(end - roomOffset_);
    writeAt(roomOffset_ + nameSize, size.data(), size.size());
    syncQueue_.sync([this] { sync(); });
    if (syncFailure_ != 0) throwError(syncFailure_);
  } catch (...) {
    cutOffAt(end);
    throw;
  }
  // Now both kinds of file stand there, and even half of this write leaves one of them.
  writeAt(roomOffset_, mediaData.data(), mediaData.size());
}

/// The index describes what was written here and nothing else.
void FragmentFile::requireUntouched() const {
  struct stat status {};
  if (::fstat(file_.get(), &status) != 0) throwError(errno);
  if (static_cast<std::uint64_t>(status.st_size) != written_)
    throw MediaError(MediaError::Kind::unreadable, "another program has changed the file");
}

std::exception_ptr FragmentFile::error() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

std::vector<std::string> FragmentFile::warnings() const {
  const auto name = path_.filename().string();
  std::vector<std::string> texts;
  if (const int failure = syncFailure_; failure != 0)
    texts.push_back(
        fmt::format("the disk did not confirm that {} is stored ({}): check it, and keep a copy elsewhere",
                    name, std::generic_category().message(failure)));
  const std::lock_guard lock(mutex_);
  if (whyFragmented_)
    texts.push_back(fmt::format(
        "{} was left without a closing index ({}): it plays, but some programs open it slowly or refuse it",
        name, reason(whyFragmented_)));
  return texts;
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
    if (done <= 0) throwError(done < 0 ? errno : EIO);
    offset += static_cast<std::uint64_t>(done);
    bytes += done;
    count -= static_cast<std::size_t>(done);
  }
}

void FragmentFile::cutOffAt(std::uint64_t end) {
  written_ = end;
  [[maybe_unused]] const int ignored = ::ftruncate(file_.get(), static_cast<off_t>(end));
}

void FragmentFile::throwError(int code) const {
  throw FileError("write", path_, {code, std::generic_category()});
}

}  // namespace quillant
