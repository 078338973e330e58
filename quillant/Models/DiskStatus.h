#pragma once

#include <cstdint>

#include "CaptureEngine/DiskPressure.h"

namespace quillant {

/// Whether there is room to record.
enum class DiskStatus {
  ok,
  warn,     ///< A long recording could stop early.
  blocked,  ///< No recording is started.
};

/// Below this many bytes the user is warned.
inline constexpr std::int64_t diskWarnBytes = 5'000'000'000;

constexpr DiskStatus diskStatus(std::int64_t freeBytes) {
  if (freeBytes < DiskPressure::floorBytes) return DiskStatus::blocked;
  return freeBytes < diskWarnBytes ? DiskStatus::warn : DiskStatus::ok;
}

}  // namespace quillant
