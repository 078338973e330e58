#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include "CaptureEngine/FailureCause.h"

/// Whether disk space is short. Sizes are bytes.
namespace quillant::DiskPressure {

/// Below this the desktop refuses a start. A recording made by a command starts and goes on until the disk is
/// full, with warnings (`DiskWatch`).
inline constexpr std::int64_t floorBytes = 2'000'000'000;
inline constexpr std::int64_t marginBytes = 500'000'000;

/// What an ordinary user may still write on the volume that holds `url`, or would hold it once its folders
/// exist; nothing if it cannot be read. Blocking.
std::optional<std::int64_t> availableBytes(const std::filesystem::path& url);

/// Whether a session that ended with so many bytes free most likely ended for want of space.
FailureCause classify(std::optional<std::int64_t> freeBytes);

}  // namespace quillant::DiskPressure
