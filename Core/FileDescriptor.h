#pragma once

#include <unistd.h>
#include <utility>

namespace quillant {

/// A file descriptor that closes itself. Negative means none.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }

  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  /// Closes now and tells whether that worked: some file systems report a failed write only here.
  bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

 private:
  int fd_ = -1;
};

}  // namespace quillant
