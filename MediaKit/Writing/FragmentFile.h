#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <mutex>
#include <vector>

#include "Core/FileDescriptor.h"
#include "Core/SerialQueue.h"

namespace quillant {

/// The file under a recording: grows by whole fragments, each of which is there entirely or not at all.
///
/// A fragment's first eight bytes, which name it, are written last. A process that is killed in the middle of
/// a write leaves zeros there, and readers stop before what follows.
///
/// Writing happens on a queue of the file's own and syncing on another; all calls come from one other thread.
/// After a failure nothing more is written, and what was torn is cut off.
class FragmentFile {
 public:
  /// Makes the file, which must not exist, beginning with `fileType` and the room in which `closeWith` hides
  /// the fragments. Throws `FileError`.
  FragmentFile(const std::filesystem::path& path, const std::vector<std::uint8_t>& fileType);
  FragmentFile(const FragmentFile&) = delete;
  FragmentFile& operator=(const FragmentFile&) = delete;

  void append(std::vector<std::uint8_t> boxes);
  /// Bytes that wait for the disk.
  std::size_t backlog() const { return backlog_; }
  /// Waits until everything appended is written, though perhaps not yet synced. The size of the file then.
  std::uint64_t flush();
  /// Waits like `flush`, then writes `index` at the end and turns all between the head and it into one box of
  /// media data: an ordinary file. Until that last write, of 16 bytes, it remains a fragmented one.
  void closeWith(const std::vector<std::uint8_t>& index);
  /// What ended the writing, a `FileError`; any thread.
  std::exception_ptr error() const;

  int descriptor() const { return file_.get(); }

 private:
  void syncSoon();
  void writeWhole(const std::vector<std::uint8_t>& boxes);
  void writeAt(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count);
  void attempt(const std::function<void()>& work);
  [[noreturn]] void throwLastError() const;

  std::filesystem::path path_;
  FileDescriptor file_;
  std::uint64_t roomOffset_ = 0;
  std::uint64_t written_ = 0;  ///< Whole boxes in the file; the queue's.
  std::atomic<std::size_t> backlog_ = 0;
  mutable std::mutex mutex_;
  std::exception_ptr error_;
  std::atomic<bool> syncWaits_ = false;
  // Last, and in this order: joined before the rest goes, the writing first.
  SerialQueue syncQueue_{"quillant.media.sync"};
  SerialQueue queue_{"quillant.media.disk"};
};

}  // namespace quillant
