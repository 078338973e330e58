#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

#include "Core/OwningSequence.h"
#include "Core/Signal.h"
#include "Core/Task.h"
#include "quillant/Models/DiskStatus.h"

namespace quillant {

/// Watches the folder that recordings go to. Belongs to the main thread; the disk is asked on others.
class DiskSpaceMonitor : public std::enable_shared_from_this<DiskSpaceMonitor> {
 public:
  struct Options {
    std::filesystem::path directory;
    std::optional<std::int64_t> injectedFreeBytes{};  ///< Counts in place of the disk's own.
    std::chrono::milliseconds interval = std::chrono::seconds(10);
  };

  static std::shared_ptr<DiskSpaceMonitor> make(Executor mainThread, Options options);

  /// Of the last read; before the first one there is room.
  std::int64_t freeBytes() const { return freeBytes_; }
  DiskStatus status() const { return diskStatus(freeBytes_); }
  Signal<> changed;

  /// Reads now and then again and again. A second start begins afresh.
  void start();
  void stop();
  /// Ends with `freeBytes` as it is now.
  Task<> read();
  /// Takes effect with the next read.
  void setDirectory(std::filesystem::path directory);

  /// What may still be written there; a volume that cannot be read has room without end, so that it never
  /// stops a recording. Blocking.
  static std::int64_t availableBytes(const std::filesystem::path& directory);

 private:
  DiskSpaceMonitor(Executor mainThread, Options options);
  static Task<> repeat(std::weak_ptr<DiskSpaceMonitor> weak, std::uint64_t run);

  const Executor mainThread_;
  const OwningSequence sequence_{mainThread_};
  Options options_;
  std::int64_t freeBytes_;
  std::uint64_t run_ = 0;  ///< Rises with every start and stop: what belongs to an earlier one ends.
};

}  // namespace quillant
