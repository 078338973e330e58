#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "Core/FileDescriptor.h"
#include "Core/MediaTime.h"
#include "Core/SerialQueue.h"
#include "MediaKit/Writing/ClosingIndex.h"
#include "MediaKit/Writing/FragmentMuxer.h"

namespace quillant {

/// The file under a recording: grows by whole fragments, each of which is there entirely or not at all, and
/// becomes an ordinary file when it is closed.
///
/// A fragment's first eight bytes, which name it, are written last. A process that is killed in the middle of
/// a write leaves zeros there, and readers stop before what follows.
///
/// Writing happens on a queue of the file's own and syncing on another; all calls come from one other thread.
/// After a failed write nothing more is written, and what was torn is cut off.
class FragmentFile {
 public:
  /// Makes the file, which must not exist, beginning with the type in `head` and the room in which `close`
  /// hides the fragments; the rest of `head` is written with the first fragment. Throws `FileError`, and
  /// `MediaError` for a head that is none.
  FragmentFile(const std::filesystem::path& path, FragmentMuxer::Head head);
  FragmentFile(const FragmentFile&) = delete;
  FragmentFile& operator=(const FragmentFile&) = delete;

  /// The time on the samples' clock that is the file's zero. Before the first fragment, with which it is
  /// written.
  void setSessionStart(MediaTime start);
  void append(std::vector<std::uint8_t> fragment);
  /// Bytes that wait for the disk.
  std::size_t backlog() const { return backlog_; }
  /// Waits until everything appended is written and synced. If it is, the closing index and all, the file
  /// becomes an ordinary one by a last write of eight bytes; otherwise it stays fragmented, which plays too,
  /// and `warnings` says so. Once; nothing is appended afterwards.
  void close();

  /// What ended the writing, a `FileError`: the file lacks what was appended since. Any thread.
  std::exception_ptr error() const;
  /// What the user should know although all that was appended is written. Any thread.
  std::vector<std::string> warnings() const;

 private:
  void writeFragment(const std::vector<std::uint8_t>& boxes);
  void makeOrdinary();
  void requireUntouched() const;
  void syncSoon();
  void sync();
  void writeWhole(const std::vector<std::uint8_t>& boxes);
  void writeAt(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count);
  void cutOffAt(std::uint64_t end);
  [[noreturn]] void throwError(int code) const;

  const std::filesystem::path path_;
  std::vector<std::uint8_t> movie_;  ///< Goes with the first fragment; empty afterwards. The caller's.
  ClosingIndex index_;               // the queue's, as what follows
  std::exception_ptr indexFailure_;
  FileDescriptor file_;
  std::uint64_t roomOffset_ = 0;
  std::uint64_t written_ = 0;  ///< Whole boxes in the file.

  std::atomic<std::size_t> backlog_ = 0;
  mutable std::mutex mutex_;
  std::exception_ptr error_;
  std::exception_ptr whyFragmented_;  ///< Set if the file was closed without an index.
  /// The error number of the first sync, or close, that failed. The system reports it only once, so it is
  /// kept.
  std::atomic<int> syncFailure_ = 0;
  std::atomic<bool> syncWaits_ = false;
  // Last, and in this order: joined before the rest goes, the writing first.
  SerialQueue syncQueue_{"quillant.media.sync"};
  SerialQueue queue_{"quillant.media.disk"};
};

}  // namespace quillant
