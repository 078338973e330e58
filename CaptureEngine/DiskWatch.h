#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CaptureEngine/DiskPressure.h"

namespace quillant {

/// When to warn that the disk of a recording is short of space: below the floor, and again whenever half of
/// what was left then is gone. One watch a recording.
class DiskWatch {
 public:
  /// The warning that is due at this many free bytes, if any; a volume that cannot be read has none.
  std::optional<std::string> look(std::optional<std::int64_t> freeBytes);

 private:
  std::int64_t warnBelow_ = DiskPressure::floorBytes;
};

}  // namespace quillant
