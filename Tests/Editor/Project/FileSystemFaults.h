#pragma once

#include <string>

/// What the file system refuses or counts in these tests, whose program takes the place of the C library's
/// `flock`, `renameat2` and `open`. Undone with the object; one at a time.
namespace quillant {

class FileSystemFaults {
 public:
  FileSystemFaults();
  ~FileSystemFaults();
  FileSystemFaults(const FileSystemFaults&) = delete;
  FileSystemFaults& operator=(const FileSystemFaults&) = delete;

  int lockError = 0;       ///< What `flock` fails with; 0 for none.
  int renameError = 0;     ///< What `renameat2` fails with.
  std::string unreadable;  ///< Opening a path that ends so fails with EIO.
  std::string counted;     ///< Opening a path that ends so is counted.
  int opened = 0;
};

}  // namespace quillant
