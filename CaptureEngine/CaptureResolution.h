#pragma once

namespace quillant {

/// How large a recording's picture may become.
enum class CaptureResolution {
  native,  ///< every pixel of the source
  p1080,   ///< scaled down to fit 1920 by 1080 pixels, also when the source stands upright
};

}  // namespace quillant
