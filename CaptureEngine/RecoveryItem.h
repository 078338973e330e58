#pragma once

#include <cstdint>
#include <optional>

#include "CaptureEngine/RecoverableRecording.h"
#include "Core/Date.h"
#include "Core/Geometry.h"
#include "Core/PixelBuffer.h"

namespace quillant {

/// An interrupted recording as the user is asked about it.
struct RecoveryItem {
  RecoverableRecording recording;
  double duration = 0;  ///< Seconds.
  std::optional<Date> startedAt;
  std::optional<std::int64_t> sizeBytes;
  std::optional<Size> pixelSize;
  PixelBufferRef poster;  ///< Null if there is none.
};

}  // namespace quillant
